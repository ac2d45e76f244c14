#include <algorithm>
#include <array>
#include <linux/fs.h>
#include <linux/magic.h>
#include <sys/ioctl.h>
#include <sys/vfs.h>

#include "host/record_file/medium.h"

namespace packetdb::host {
namespace {

// Not in linux/magic.h.
constexpr long kZfsMagic = 0x2FC12FC1;
constexpr long kBcachefsMagic = 0xCA451A4E;

// Network file systems, and those that a process serves: a mapping there is not coherent between
// machines, or is slow to fault and to flush.
constexpr std::array<long, 8> kServedByOthers = {
    NFS_SUPER_MAGIC,  SMB_SUPER_MAGIC, SMB2_SUPER_MAGIC, CIFS_SUPER_MAGIC,
    CEPH_SUPER_MAGIC, AFS_SUPER_MAGIC, V9FS_MAGIC,       FUSE_SUPER_MAGIC};

constexpr std::array<long, 3> kCopyOnWrite = {BTRFS_SUPER_MAGIC, kZfsMagic, kBcachefsMagic};

template <class List>
bool Has(const List& list, long type) {
  return std::find(list.begin(), list.end(), type) != list.end();
}

bool IsWrittenInPlace(const Descriptor& file) {
  int flags = 0;
  return ioctl(file.get(), FS_IOC_GETFLAGS, &flags) == 0 && (flags & FS_NOCOW_FL) != 0;
}

}  // namespace

Way BestWay(const Descriptor& file) {
  struct statfs status = {};
  if (fstatfs(file.get(), &status) != 0) return Way::kByCalls;
  const auto type = static_cast<long>(static_cast<unsigned int>(status.f_type));
  if (Has(kServedByOthers, type)) return Way::kByCalls;
  const bool moves_blocks = Has(kCopyOnWrite, type) && !IsWrittenInPlace(file);
  return moves_blocks ? Way::kByCalls : Way::kMapped;
}

}  // namespace packetdb::host
