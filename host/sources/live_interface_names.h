// The names of this machine's interfaces, for sources that are told an index with each packet.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>
#include <unordered_map>

namespace packetdb::host {

// Asks the kernel by way of a socket, which may be of any kind and decides the network namespace.
// Empty where there is no such interface.
std::string AskInterfaceName(int socket, std::uint32_t index);

// Asks once and remembers, but not for ever: interfaces are renamed, and numbers used again.
class LiveInterfaceNames {
 public:
  using Ask = std::function<std::string(std::uint32_t index)>;
  using Time = std::chrono::steady_clock::time_point;

  // `none` is the name where there is no index.
  LiveInterfaceNames(Ask ask, std::string none) : ask_(std::move(ask)), none_(std::move(none)) {}

  // The name for an index, 0 meaning that there is none. Asks at most once a second for each. An
  // interface that has gone keeps its last known name, and is "if7" where none is known. Valid
  // until the next call.
  const std::string& Name(std::uint32_t index, Time now);

 private:
  struct Entry {
    std::string name;
    Time asked;
  };
  Entry& Find(std::uint32_t index, Time now);
  void Refresh(std::uint32_t index, Time now, Entry& entry);

  Ask ask_;
  std::string none_;
  std::unordered_map<std::uint32_t, Entry> entries_;
  // The entry asked for last: most packets come through few interfaces.
  std::uint32_t last_index_ = 0;
  Entry* last_ = nullptr;
};

}  // namespace packetdb::host
