#include "host/config/surroundings.h"

#include <cerrno>
#include <grp.h>
#include <pwd.h>
#include <vector>

#include "host/sources/capture_filter.h"

namespace packetdb::host {
namespace {

// Room for the strings of an entry: a group with thousands of members has long ones.
constexpr std::size_t kFirstRoom = 4096;
constexpr std::size_t kMostRoom = 1 << 24;

// `get` looks for an entry with the room that it is given and returns 0 or an errno.
template <class Entry, class Get>
bool Exists(const std::string& name, Get get) {
  Entry entry{};
  Entry* found = nullptr;
  std::vector<char> room(kFirstRoom);
  while (get(name.c_str(), &entry, room.data(), room.size(), &found) == ERANGE &&
         room.size() < kMostRoom) {
    room.resize(room.size() * 2);
  }
  return found != nullptr;
}

}  // namespace

Surroundings SystemSurroundings() {
  return {[](const std::string& name) { return Exists<passwd>(name, getpwnam_r); },
          [](const std::string& name) { return Exists<group>(name, getgrnam_r); },
          WhyNotCaptureFilter, ReadTextFile};
}

}  // namespace packetdb::host
