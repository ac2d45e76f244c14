// A table that is there once; each of its keys holds as the last file has it.
#pragma once

#include <fmt/format.h>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include "host/config/section.h"

namespace packetdb::host {

// Finds the settings of a section in a configuration. Those of the top are the whole.
template <class Settings>
struct Part {
  Settings Configuration::*member;

  Settings& In(Configuration& configuration) const { return configuration.*member; }
  const Settings& In(const Configuration& configuration) const { return configuration.*member; }
};
template <>
struct Part<Configuration> {
  Configuration& In(Configuration& configuration) const { return configuration; }
  const Configuration& In(const Configuration& configuration) const { return configuration; }
};

template <class Settings>
class SingleSection final : public Section {
 public:
  SingleSection(std::string section, std::string meaning, Part<Settings> part,
                std::vector<Key<Settings>> keys)
      : Section(std::move(section), std::move(meaning)), part_(part), keys_(std::move(keys)) {}

  std::string Title() const override { return name().empty() ? "" : "[" + name() + "]"; }

  std::vector<KeyReference> Keys() const override {
    std::vector<KeyReference> references;
    references.reserve(keys_.size());
    for (const auto& key : keys_) references.push_back(ReferenceOf(key));
    return references;
  }

  void Read(const Node& node, const Reading& reading, Draft& draft) const override {
    const auto* const table = std::get_if<Table>(&node.value);
    if (table == nullptr) {
      reading.problems.Add(node.place,
                           fmt::format("'{}' is there once: write [{}]", name(), name()));
      return;
    }
    ReadKeys(*table, keys_, Title(), reading, part_.In(draft.configuration));
    const std::string prefix = name().empty() ? "" : name() + ".";
    for (const Entry& entry : table->entries) {
      draft.keys[fmt::format("{}{}", prefix, entry.name)] = entry.node.place;
    }
  }

  std::string Show(const Configuration& configuration) const override {
    std::string text = name().empty() ? "" : Title() + "\n";
    for (const auto& key : keys_) {
      const std::string value = key.show(part_.In(configuration), configuration);
      if (value.empty()) continue;
      fmt::format_to(std::back_inserter(text), "{} = {}\n", key.name, value);
    }
    return text;
  }

  void Compare(const Configuration& before, const Configuration& after,
               std::vector<ConfigurationChange>& changes) const override {
    for (const auto& key : keys_) {
      const std::string old_value = key.show(part_.In(before), before);
      const std::string new_value = key.show(part_.In(after), after);
      if (old_value == new_value) continue;
      changes.push_back({fmt::format("{}{}{}: {}, now {}", Title(), name().empty() ? "" : " ",
                                     key.name, old_value, new_value),
                         key.effect});
    }
  }

 private:
  Part<Settings> part_;
  std::vector<Key<Settings>> keys_;
};

}  // namespace packetdb::host
