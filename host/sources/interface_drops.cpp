#include "host/sources/interface_drops.h"

#include <charconv>
#include <fcntl.h>
#include <unistd.h>

namespace packetdb::host {
namespace {

// Packets for which there was no room, in the card and in the driver.
constexpr std::array<const char*, 2> kCounters = {"rx_missed_errors", "rx_fifo_errors"};

// A counter that cannot be read stays as it was.
void Read(int fd, std::uint64_t& count) {
  std::array<char, 24> text{};
  const ssize_t size = pread(fd, text.data(), text.size(), 0);
  if (size > 0) std::from_chars(text.data(), text.data() + size, count);
}

}  // namespace

InterfaceDrops::InterfaceDrops(const std::string& interface) {
  for (std::size_t i = 0; i < files_.size(); ++i) {
    const std::string path = "/sys/class/net/" + interface + "/statistics/" + kCounters[i];
    File& file = files_[i];
    file.fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    Read(file.fd, file.start);
    file.now = file.start;
  }
}

InterfaceDrops::~InterfaceDrops() {
  for (const File& file : files_) {
    if (file.fd >= 0) close(file.fd);
  }
}

std::uint64_t InterfaceDrops::Count() {
  std::uint64_t count = 0;
  for (File& file : files_) {
    Read(file.fd, file.now);
    count += file.now >= file.start ? file.now - file.start : 0;
  }
  return count;
}

}  // namespace packetdb::host
