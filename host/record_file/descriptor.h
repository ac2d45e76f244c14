// A file descriptor that is closed with its owner.
#pragma once

#include <cerrno>
#include <fcntl.h>
#include <string>
#include <sys/types.h>
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

// open(2), again when a signal interrupts it: file systems that wait for somebody let that happen.
inline Descriptor OpenDescriptor(const std::string& path, int flags, mode_t mode = 0) {
  int fd = open(path.c_str(), flags, mode);
  while (fd < 0 && errno == EINTR) fd = open(path.c_str(), flags, mode);
  return Descriptor(fd);
}

// fsync(2) and fdatasync(2), likewise: 0, or -1 with the reason in errno.
inline int FlushFile(const Descriptor& file) {
  int result = fsync(file.get());
  while (result != 0 && errno == EINTR) result = fsync(file.get());
  return result;
}

inline int FlushData(const Descriptor& file) {
  int result = fdatasync(file.get());
  while (result != 0 && errno == EINTR) result = fdatasync(file.get());
  return result;
}

}  // namespace packetdb::host
