// What an interface dropped before anybody could capture it, where its driver tells.
#pragma once

#include <array>
#include <cstdint>
#include <string>

namespace packetdb::host {

// Opens the driver's counters at once, so that they can be read where no file may be opened.
class InterfaceDrops {
 public:
  explicit InterfaceDrops(const std::string& interface);
  ~InterfaceDrops();
  InterfaceDrops(const InterfaceDrops&) = delete;
  InterfaceDrops& operator=(const InterfaceDrops&) = delete;

  // Packets since this was made; what was told last where the counters are gone.
  std::uint64_t Count();

 private:
  struct File {
    int fd = -1;
    std::uint64_t start = 0;
    std::uint64_t now = 0;
  };
  std::array<File, 2> files_;
};

}  // namespace packetdb::host
