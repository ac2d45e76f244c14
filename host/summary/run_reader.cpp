#include "host/summary/run_reader.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <unistd.h>

namespace packetdb::host {
namespace {

// Of each run that is merged; a few dozen are many.
constexpr std::size_t kReadSize = 65536;

}  // namespace

RunReader::RunReader(int file, std::uint64_t offset, std::uint64_t size, std::size_t key_size)
    : file_(file), offset_(offset), left_(size), entry_size_(sizeof(Sums) + key_size) {}

bool RunReader::Next() {
  at_ += has_begun_ ? entry_size_ : 0;
  has_begun_ = true;
  if (at_ == buffer_.size() && !Fill()) return false;
  std::memcpy(&sums_, buffer_.data() + at_, sizeof(sums_));
  return true;
}

bool RunReader::Fill() {
  const std::uint64_t most = std::max<std::uint64_t>(kReadSize / entry_size_, 1) * entry_size_;
  buffer_.resize(std::min(left_, most));
  at_ = 0;
  for (std::size_t done = 0; done < buffer_.size();) {
    const ssize_t size = pread(file_, buffer_.data() + done, buffer_.size() - done,
                               static_cast<off_t>(offset_ + done));
    if (size < 0 && errno == EINTR) continue;
    if (size <= 0) {
      error_ = size == 0 ? EIO : errno;  // nobody else has the file, so nobody cuts it
      return false;
    }
    done += static_cast<std::size_t>(size);
  }
  offset_ += buffer_.size();
  left_ -= buffer_.size();
  return !buffer_.empty();
}

}  // namespace packetdb::host
