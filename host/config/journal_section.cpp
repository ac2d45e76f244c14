// Where events go: [[journal]].
#include <algorithm>
#include <fmt/format.h>
#include <limits>
#include <variant>

#include "host/config/key_kinds.h"
#include "host/config/list_section.h"
#include "host/config/name_rules.h"
#include "host/config/sections.h"
#include "host/config/text_keys.h"

namespace packetdb::host {
namespace {

using Journal = JournalSettings;

constexpr std::int64_t kSecondMs = 1000;
constexpr std::int64_t kLongestWindow = std::int64_t{365} * 24 * 3600 * kSecondMs;

std::optional<Refusal> ReadLogGroups(const Node& node, const Reading&, Journal& journal) {
  std::vector<std::uint16_t> groups;
  auto refusal = ReadList(node, [&groups](const Node& element) -> std::optional<std::string> {
    NumberOrWhy read = ReadNumber(element, {0, 65535});
    if (!read.number) return read.why;
    const auto group = static_cast<std::uint16_t>(*read.number);
    if (std::find(groups.begin(), groups.end(), group) != groups.end()) return "it is there twice";
    groups.push_back(group);
    return std::nullopt;
  });
  if (!refusal) journal.log_groups = std::move(groups);
  return refusal;
}

Key<Journal> InterfacesKey() {
  Key<Journal> key =
      TextListKey("interfaces", &Journal::interfaces, InterfacePatterns(),
                  "The interfaces whose events it takes; one of them has to fit.", Effect::kIntake);
  key.read = [read = key.read](const Node& node, const Reading& reading, Journal& journal) {
    auto refusal = read(node, reading, journal);
    if (!refusal && journal.interfaces.empty()) return std::optional(Refuse(node, "it is empty"));
    return refusal;
  };
  return key;
}

Key<Journal> LogGroupsKey() {
  return {"log_groups",
          "a list of whole numbers from 0 to 65535",
          "[5]",
          "The log groups whose events it takes; where it is empty, those of all sources.",
          Effect::kIntake,
          "",
          false,
          ReadLogGroups,
          [](const Journal& journal, const Configuration&) {
            return fmt::format("[{}]", fmt::join(journal.log_groups, ", "));
          }};
}

}  // namespace

std::unique_ptr<Section> MakeJournalSection() {
  std::vector<Key<Journal>> keys;
  keys.push_back(TextKey("name", &Journal::name, JournalName(),
                         "Its name, which is that of its files and the one that queries use.",
                         Effect::kIntake));
  keys.back().required = true;
  keys.push_back(NumberKey("capacity", &Journal::capacity,
                           {1, std::numeric_limits<std::int32_t>::max()}, "5000000",
                           "How many records it keeps, of about 80 bytes each. A journal that has "
                           "another capacity is resized and keeps its newest records.",
                           Effect::kIntake));
  keys.back().default_note = "as the journal has it; 1000000 for a new one";
  keys.push_back(UnitKey(kDurationKind, "window", &Journal::window_seconds,
                         {0, kLongestWindow, kSecondMs, kSecondMs}, "1min",
                         "How long an event takes up repeats. It is set when the journal is made "
                         "and cannot change afterwards.",
                         Effect::kIntake));
  keys.back().default_note = "as the journal has it; \"1min\" for a new one";
  keys.push_back(InterfacesKey());
  keys.push_back(LogGroupsKey());
  return std::make_unique<ListSection<Journal>>(
      "journal",
      "A journal, and which events go there: the first one that an event fits takes it. Where none "
      "is given, a journal `all` takes everything.",
      ListTraits<Journal>{&Configuration::journals, kMostJournals, "name", Effect::kIntake},
      std::move(keys));
}

}  // namespace packetdb::host
