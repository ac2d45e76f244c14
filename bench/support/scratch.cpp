#include "bench/support/scratch.h"

#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fmt/format.h>
#include <linux/magic.h>
#include <stdexcept>
#include <sys/vfs.h>
#include <unistd.h>

namespace packetdb::bench {
namespace {

constexpr long kXfsMagic = 0x58465342;  // not in linux/magic.h of every kernel

}  // namespace

Scratch::Scratch(const std::string& parent) : path_(parent + "/packetdb-bench-XXXXXX") {
  if (mkdtemp(path_.data()) == nullptr) {
    throw std::runtime_error("no folder can be made in " + parent);
  }
}

Scratch::~Scratch() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

std::string Scratch::NewPath() { return fmt::format("{}/{}", path_, ++paths_); }

void Scratch::Settle() const {
  const int folder = open(path_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (folder < 0) throw std::runtime_error("cannot open " + path_);
  const bool is_settled = syncfs(folder) == 0;
  close(folder);
  if (!is_settled) throw std::runtime_error("cannot sync the file system of " + path_);
}

std::string FileSystemOf(const std::string& path) {
  struct statfs status = {};
  if (statfs(path.c_str(), &status) != 0) return "unknown";
  switch (static_cast<long>(status.f_type)) {
    case EXT4_SUPER_MAGIC:
      return "ext4";
    case TMPFS_MAGIC:
      return "tmpfs";
    case BTRFS_SUPER_MAGIC:
      return "btrfs";
    case kXfsMagic:
      return "xfs";
    case OVERLAYFS_SUPER_MAGIC:
      return "overlay";
    default:
      return fmt::format("{:#x}", static_cast<unsigned long>(status.f_type));
  }
}

}  // namespace packetdb::bench
