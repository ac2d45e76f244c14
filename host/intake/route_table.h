// Which journal takes the events of an interface and a log group.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "host/config/configuration.h"

namespace packetdb::host {

struct Route {
  static constexpr int kNoJournal = -1;

  int journal = kNoJournal;   // place in the configuration
  bool is_known = false;      // the journal's catalogue has the interface
  std::size_t name_hash = 0;  // of the interface, once it is known
  std::string interface;      // as it is journaled
};

// The name under which events of an interface are journaled: the name itself where a catalogue can
// hold it. Bytes that it cannot hold become '?', names too long are cut, and none is "unknown".
std::string JournaledName(std::string_view interface);

// Keeps what was decided. Interfaces come and go with virtual machines: when too many were seen,
// everything is decided anew.
class RouteTable {
 public:
  static constexpr std::size_t kMostRoutes = 16384;

  explicit RouteTable(std::vector<JournalSettings> journals);

  // The first journal in the order of the configuration that the event fits; a log group of 0
  // stands for a source that is none. The route is the caller's to complete, and valid until the
  // next call.
  Route& Find(std::string_view interface, std::uint16_t log_group);

  std::uint64_t times_emptied() const { return times_emptied_; }

 private:
  struct View {
    std::string_view interface;
    std::uint16_t log_group;
  };
  struct Key {
    std::string interface;
    std::uint16_t log_group;
    operator View() const { return {interface, log_group}; }
  };
  struct Hash {
    using is_transparent = void;  // the name that unordered_map looks for
    std::size_t operator()(View key) const;
  };
  struct Equal {
    using is_transparent = void;
    bool operator()(View a, View b) const {
      return a.log_group == b.log_group && a.interface == b.interface;
    }
  };

  Route& Add(View key);
  int Choose(View key) const;

  std::vector<JournalSettings> journals_;
  std::unordered_map<Key, Route, Hash, Equal> routes_;
  std::uint64_t times_emptied_ = 0;
};

}  // namespace packetdb::host
