// A file descriptor that is closed with its owner.
#pragma once

#include <unistd.h>
#include <utility>

namespace packetdb::host {

class Descriptor {
 public:
  Descriptor() = default;
  explicit Descriptor(int fd) : fd_(fd) {}
  Descriptor(Descriptor&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
  Descriptor& operator=(Descriptor&& other) noexcept {
    std::swap(fd_, other.fd_);
    return *this;
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  ~Descriptor() {
    if (IsOpen()) close(fd_);
  }

  int get() const { return fd_; }  // -1 when closed
  bool IsOpen() const { return fd_ >= 0; }

 private:
  int fd_ = -1;
};

}  // namespace packetdb::host
