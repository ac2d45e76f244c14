// Names of the administrator's own: [events] and [flags]. Their keys are names, so that none is
// unknown.
#include <fmt/format.h>
#include <iterator>
#include <variant>

#include "host/config/event_names.h"
#include "host/config/flag_names.h"
#include "host/config/key_kinds.h"
#include "host/config/name_rules.h"
#include "host/config/sections.h"
#include "host/config/written.h"

namespace packetdb::host {
namespace {

// What [events] and [flags] do in different ways.
struct NameKind {
  NameTable Configuration::*member;
  std::string takes;
  std::string example_name;
  std::string example;
  std::string default_text;
  std::string help;
  // The value of a node; else why it may not be.
  NumberOrWhy (*read)(const Node&);
  std::string (*refuses)(const std::string& name);  // empty: the name may be given
  std::string (*show)(std::uint32_t value);
};

class NameSection final : public Section {
 public:
  NameSection(std::string section, std::string meaning, NameKind kind)
      : Section(std::move(section), std::move(meaning)), kind_(std::move(kind)) {}

  std::string Title() const override { return "[" + name() + "]"; }

  std::vector<KeyReference> Keys() const override {
    return {{kind_.example_name, kind_.takes, kind_.default_text, false, false, kind_.example,
             kind_.help, Effect::kIntake}};
  }

  void Read(const Node& node, const Reading& reading, Draft& draft) const override {
    const auto* const table = std::get_if<Table>(&node.value);
    if (table == nullptr) {
      reading.problems.Add(node.place,
                           fmt::format("'{}' is there once: write [{}]", name(), name()));
      return;
    }
    for (const Entry& entry : table->entries) ReadName(entry, reading, draft);
  }

  std::string Show(const Configuration& configuration) const override {
    std::string text;
    for (const auto& [word, value] : configuration.*kind_.member) {
      if (!kind_.refuses(word).empty()) continue;
      fmt::format_to(std::back_inserter(text), "{} = {}\n", word, kind_.show(value));
    }
    return text.empty() ? "" : Title() + "\n" + text;
  }

  void Compare(const Configuration& before, const Configuration& after,
               std::vector<ConfigurationChange>& changes) const override {
    const NameTable& old_names = before.*kind_.member;
    const NameTable& new_names = after.*kind_.member;
    for (const auto& [word, value] : old_names) {
      const auto found = new_names.find(word);
      if (found == new_names.end()) {
        AddChange(word, value, "none", changes);
      } else if (found->second != value) {
        AddChange(word, value, kind_.show(found->second), changes);
      }
    }
    for (const auto& [word, value] : new_names) {
      if (old_names.contains(word)) continue;
      changes.push_back(
          {fmt::format("{} {}: none, now {}", Title(), word, kind_.show(value)), Effect::kIntake});
    }
  }

 private:
  void AddChange(const std::string& word, std::uint32_t value, const std::string& now,
                 std::vector<ConfigurationChange>& changes) const {
    changes.push_back(
        {fmt::format("{} {}: {}, now {}", Title(), word, kind_.show(value), now), Effect::kIntake});
  }

  void ReadName(const Entry& entry, const Reading& reading, Draft& draft) const {
    if (!IsWord(entry.name)) {
      reading.problems.Add(entry.place, fmt::format("{} in {}: give {}", Quoted(entry.name),
                                                    Title(), DescribeWord()));
      return;
    }
    if (const std::string why = kind_.refuses(entry.name); !why.empty()) {
      reading.problems.Add(entry.place,
                           fmt::format("{} in {}: {}", Quoted(entry.name), Title(), why));
      return;
    }
    NumberOrWhy read = kind_.read(entry.node);
    if (!read.number) {
      reading.problems.Add(entry.node.place,
                           RefusalText(entry.name, Refuse(entry.node, std::move(read.why)),
                                       kind_.takes, kind_.example));
      return;
    }
    (draft.configuration.*kind_.member)[entry.name] = static_cast<std::uint32_t>(*read.number);
    draft.keys[name() + "." + entry.name] = entry.node.place;
  }

  NameKind kind_;
};

constexpr NumberRange kCodes{1, kMaxPrefixCode};

NumberOrWhy ReadFlag(const Node& node) {
  NumberOrWhy read = ReadNumber(node, {0, kLastUserFlag});
  if (!read.number) return read;
  if (std::string why = TakenBy(*read.number); !why.empty()) return {std::nullopt, std::move(why)};
  return {std::int64_t{1} << *read.number, ""};
}

std::string ShowBit(std::uint32_t mask) {
  int bit = 0;
  while (mask >> static_cast<unsigned int>(bit) > 1) ++bit;
  return std::to_string(bit);
}

}  // namespace

std::unique_ptr<Section> MakeEventNameSection() {
  return std::make_unique<NameSection>(
      "events",
      "Names of event codes, for rules and for people. A name given here takes the place of the "
      "default name of its code.",
      NameKind{&Configuration::event_names, TakesNumber(kCodes), "vpn-denied", "200",
               "the default names", "A name of your own, this one or any other, and its code.",
               [](const Node& node) { return ReadNumber(node, kCodes); },
               [](const std::string&) { return std::string(); },
               [](std::uint32_t code) { return std::to_string(code); }});
}

std::unique_ptr<Section> MakeFlagNameSection() {
  return std::make_unique<NameSection>(
      "flags", "Names of flag bits that rules set, beside those that the daemon sets itself.",
      NameKind{&Configuration::flag_names, TakesNumber({kFirstUserFlag, kLastUserFlag}), "watched",
               "25", "none", "A name of your own, this one or any other, and its bit.", ReadFlag,
               [](const std::string& word) -> std::string {
                 return HostFlagNames().contains(word) ? "that is a flag of the daemon's own" : "";
               },
               ShowBit});
}

}  // namespace packetdb::host
