// A table of the configuration: [socket], [[journal]], or what stands before the first table.
#pragma once

#include <string>
#include <vector>

#include "host/config/changes.h"
#include "host/config/draft.h"
#include "host/config/key.h"

namespace packetdb::host {

class Section {
 public:
  Section(std::string name, std::string help) : name_(std::move(name)), help_(std::move(help)) {}
  virtual ~Section() = default;
  Section(const Section&) = delete;
  Section& operator=(const Section&) = delete;

  const std::string& name() const { return name_; }  // empty: before the first table
  const std::string& help() const { return help_; }
  // "[socket]", "[[journal]]"; empty for what stands before the first table.
  virtual std::string Title() const = 0;
  virtual std::vector<KeyReference> Keys() const = 0;

  // Reads what a file has under this name into the draft and adds what is wrong to the problems.
  virtual void Read(const Node& node, const Reading& reading, Draft& draft) const = 0;
  // As TOML, so that reading it gives the same again.
  virtual std::string Show(const Configuration& configuration) const = 0;
  virtual void Compare(const Configuration& before, const Configuration& after,
                       std::vector<ConfigurationChange>& changes) const = 0;

 private:
  std::string name_;
  std::string help_;
};

// "unknown key 'x' in [socket]; did you mean 'y'?", or where it belongs, or which keys there are.
std::string UnknownKeyText(const std::string& key, const std::string& title,
                           const std::vector<std::string>& known);

template <class Settings>
std::vector<std::string> NamesOf(const std::vector<Key<Settings>>& keys) {
  std::vector<std::string> names;
  names.reserve(keys.size());
  for (const Key<Settings>& key : keys) names.push_back(key.name);
  return names;
}

// Reads each entry of a table by its key. Returns the names of the keys that were read.
template <class Settings>
std::vector<std::string> ReadKeys(const Table& table, const std::vector<Key<Settings>>& keys,
                                  const std::string& title, const Reading& reading,
                                  Settings& settings) {
  std::vector<std::string> read;
  for (const Entry& entry : table.entries) {
    const Key<Settings>* found = nullptr;
    for (const Key<Settings>& key : keys) found = key.name == entry.name ? &key : found;
    if (found == nullptr) {
      reading.problems.Add(entry.place, UnknownKeyText(entry.name, title, NamesOf(keys)));
    } else if (const auto refusal = found->read(entry.node, reading, settings)) {
      reading.problems.Add(refusal->place,
                           RefusalText(found->name, *refusal, found->takes, found->example));
    } else {
      read.push_back(entry.name);
    }
  }
  return read;
}

}  // namespace packetdb::host
