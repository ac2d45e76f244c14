// A file descriptor that closes itself.
#pragma once

#include <unistd.h>
#include <utility>

namespace packetdb::host {

class SocketDescriptor {
 public:
  SocketDescriptor() = default;
  explicit SocketDescriptor(int fd) : fd_(fd) {}
  SocketDescriptor(SocketDescriptor&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
  SocketDescriptor& operator=(SocketDescriptor&& other) noexcept {
    std::swap(fd_, other.fd_);
    return *this;
  }
  ~SocketDescriptor() { Close(); }

  int get() const { return fd_; }
  bool valid() const { return fd_ >= 0; }
  void Close() {
    if (fd_ >= 0) close(std::exchange(fd_, -1));
  }

 private:
  int fd_ = -1;
};

}  // namespace packetdb::host
