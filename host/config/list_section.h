// A table that may be there several times; those of all files follow one another.
#pragma once

#include <algorithm>
#include <fmt/format.h>
#include <functional>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include "host/config/list_changes.h"
#include "host/config/section.h"

namespace packetdb::host {

template <class Settings>
struct ListTraits {
  std::vector<Settings> Configuration::*member;
  std::size_t most;      // more of them are refused
  std::string identity;  // the key by which two are told apart
  Effect effect;         // of one that comes, goes or moves
  // Fills in what depends on several keys; what is wrong with them together, or nothing.
  std::function<std::string(Settings&)> finish = [](Settings&) { return std::string(); };
};

template <class Settings>
class ListSection final : public Section {
 public:
  ListSection(std::string section, std::string meaning, ListTraits<Settings> traits,
              std::vector<Key<Settings>> keys)
      : Section(std::move(section), std::move(meaning)),
        traits_(std::move(traits)),
        keys_(std::move(keys)) {}

  std::string Title() const override { return "[[" + name() + "]]"; }

  std::vector<KeyReference> Keys() const override {
    std::vector<KeyReference> references;
    references.reserve(keys_.size());
    for (const auto& key : keys_) references.push_back(ReferenceOf(key));
    return references;
  }

  void Read(const Node& node, const Reading& reading, Draft& draft) const override {
    draft.elements[name()];  // known to be given, even when it is empty
    const auto* const list = std::get_if<List>(&node.value);
    if (list == nullptr) {
      reading.problems.Add(
          node.place, fmt::format("there may be several of '{}': write [[{}]]", name(), name()));
      return;
    }
    for (const Node& element : *list) ReadElement(element, reading, draft);
  }

  std::string Show(const Configuration& configuration) const override {
    std::string text;
    for (const Settings& settings : configuration.*traits_.member) {
      fmt::format_to(std::back_inserter(text), "{}\n", Title());
      for (const auto& [key, value] : Shown(settings, configuration)) {
        fmt::format_to(std::back_inserter(text), "{} = {}\n", key, value);
      }
    }
    return text;
  }

  void Compare(const Configuration& before, const Configuration& after,
               std::vector<ConfigurationChange>& changes) const override {
    CompareLists({Title(), traits_.identity, traits_.effect}, ShowAll(before), ShowAll(after),
                 changes);
  }

 private:
  void ReadElement(const Node& element, const Reading& reading, Draft& draft) const {
    const auto* const table = std::get_if<Table>(&element.value);
    if (table == nullptr) {
      reading.problems.Add(element.place, fmt::format("'{}' is a list of tables", name()));
      return;
    }
    Settings settings;
    const std::vector<std::string> read = ReadKeys(*table, keys_, Title(), reading, settings);
    ElementPlaces places{element.place, {}};
    for (const Entry& entry : table->entries)
      places.keys.emplace_back(entry.name, entry.node.place);
    const bool is_complete = RequireKeys(*table, element.place, reading);
    if (is_complete && read.size() == table->entries.size()) {
      if (const std::string problem = traits_.finish(settings); !problem.empty()) {
        reading.problems.Add(element.place, fmt::format("{}: {}", Title(), problem));
      }
    }
    // An element with faults is there all the same, or what refers to it would seem wrong too.
    if (std::find(read.begin(), read.end(), traits_.identity) != read.end()) {
      Append(std::move(settings), std::move(places), reading, draft);
    }
  }

  bool RequireKeys(const Table& table, const Place& place, const Reading& reading) const {
    bool complete = true;
    for (const auto& key : keys_) {
      if (!key.required || table.Find(key.name) != nullptr) continue;
      reading.problems.Add(place, fmt::format("{} has no '{}': give {}, such as {}", Title(),
                                              key.name, key.takes, key.example));
      complete = false;
    }
    return complete;
  }

  void Append(Settings settings, ElementPlaces places, const Reading& reading, Draft& draft) const {
    const Place place = places.Of(traits_.identity);
    const std::string identity = IdentityOf(settings, draft.configuration);
    const auto [there, is_new] = draft.identities[name()].try_emplace(identity, place);
    if (!is_new) {
      reading.problems.Add(place, fmt::format("{} = {} is there already, at {}", traits_.identity,
                                              identity, reading.problems.Show(there->second)));
      return;
    }
    std::vector<Settings>& list = draft.configuration.*traits_.member;
    if (list.size() == traits_.most) {
      // Once is enough, whatever follows.
      if (draft.full.insert(name()).second) {
        reading.problems.Add(places.element,
                             fmt::format("there are more than {} of {}", traits_.most, Title()));
      }
      return;
    }
    list.push_back(std::move(settings));
    draft.elements[name()].push_back(std::move(places));
  }

  std::string IdentityOf(const Settings& settings, const Configuration& configuration) const {
    for (const auto& key : keys_) {
      if (key.name == traits_.identity) return key.show(settings, configuration);
    }
    return "";
  }

  ShownElement Shown(const Settings& settings, const Configuration& configuration) const {
    ShownElement shown;
    for (const auto& key : keys_) {
      std::string value = key.show(settings, configuration);
      if (!value.empty()) shown.emplace_back(key.name, std::move(value));
    }
    return shown;
  }

  std::vector<ShownElement> ShowAll(const Configuration& configuration) const {
    std::vector<ShownElement> all;
    all.reserve((configuration.*traits_.member).size());
    for (const Settings& settings : configuration.*traits_.member) {
      all.push_back(Shown(settings, configuration));
    }
    return all;
  }

  ListTraits<Settings> traits_;
  std::vector<Key<Settings>> keys_;
};

}  // namespace packetdb::host
