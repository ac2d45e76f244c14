#include "host/record_file/inode_mark.h"

#include <cstdint>
#include <fcntl.h>

namespace packetdb::host {
namespace {

// How long what is written will last, which is not long in a ring: a hint for the disk (fcntl(2))
// that the kernel keeps with the file and gives to whoever asks.
constexpr std::uint64_t kMark = RWH_WRITE_LIFE_SHORT;

}  // namespace

void MarkInode(int file) {
  std::uint64_t mark = kMark;
  fcntl(file, F_SET_RW_HINT, &mark);
}

bool IsInodeMarked(int file) {
  std::uint64_t mark = 0;
  return fcntl(file, F_GET_RW_HINT, &mark) == 0 && mark == kMark;
}

}  // namespace packetdb::host
