#include "host/record_file/inode_mark.h"

#include <cstdint>
#include <fcntl.h>

namespace packetdb::host {
namespace {

// How long what is written will last: a hint for the disk (fcntl(2)) that the kernel keeps with the
// file and gives to whoever asks.
constexpr std::uint64_t kOpenHint = RWH_WRITE_LIFE_MEDIUM;
constexpr std::uint64_t kOpenOnDiskHint = RWH_WRITE_LIFE_SHORT;

}  // namespace

void MarkInode(int file, InodeMark mark) {
  std::uint64_t hint = RWH_WRITE_LIFE_NOT_SET;
  if (mark == InodeMark::kOpen) hint = kOpenHint;
  if (mark == InodeMark::kOpenOnDisk) hint = kOpenOnDiskHint;
  fcntl(file, F_SET_RW_HINT, &hint);
}

InodeMark MarkOf(int file) {
  std::uint64_t hint = 0;
  if (fcntl(file, F_GET_RW_HINT, &hint) != 0) return InodeMark::kNone;
  if (hint == kOpenHint) return InodeMark::kOpen;
  return hint == kOpenOnDiskHint ? InodeMark::kOpenOnDisk : InodeMark::kNone;
}

}  // namespace packetdb::host
