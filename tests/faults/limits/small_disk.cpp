#include "tests/faults/limits/small_disk.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <fmt/format.h>
#include <linux/loop.h>
#include <sched.h>
#include <stdexcept>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/faults/program.h"

namespace packetdb::faults {
namespace {

constexpr int kAttempts = 100;

[[noreturn]] void Missing(const std::string& what) {
  throw CannotRun(fmt::format("{}: {}", what, std::strerror(errno)));
}

void Check(bool done, const std::string& what) {
  if (!done) throw std::runtime_error(fmt::format("{}: {}", what, std::strerror(errno)));
}

std::string NewFolder(const std::string& parent) {
  std::string path = parent + "/disk-XXXXXX";
  Check(mkdtemp(path.data()) != nullptr, path);
  return path;
}

struct statvfs Statistics(const std::string& path) {
  struct statvfs statistics = {};
  Check(statvfs(path.c_str(), &statistics) == 0, path);
  return statistics;
}

// The exit status of mkfs.ext4; 127 when there is none.
int MakeFileSystem(const std::string& device) {
  const pid_t child = fork();
  Check(child >= 0, "fork");
  if (child == 0) {
    const int null = open("/dev/null", O_RDWR | O_CLOEXEC);
    dup2(null, STDOUT_FILENO);
    dup2(null, STDERR_FILENO);
    // No reserve, and nothing that the kernel would go on writing later.
    execlp("mkfs.ext4", "mkfs.ext4", "-q", "-m", "0", "-b", "4096", "-E",
           "lazy_itable_init=0,lazy_journal_init=0", device.c_str(), nullptr);
    _exit(127);
  }
  int status = 0;
  Check(waitpid(child, &status, 0) == child, "waitpid");
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

void Grow(int file, std::uint64_t from, std::uint64_t to) {
  const int error = posix_fallocate(file, static_cast<off_t>(from), static_cast<off_t>(to - from));
  if (error != 0 && error != ENOSPC) {
    throw std::runtime_error(fmt::format("filling a disk: {}", std::strerror(error)));
  }
}

}  // namespace

void EnterOwnMounts() {
  if (unshare(CLONE_NEWNS) != 0) Missing("a mount namespace cannot be had");
  if (mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) {
    Missing("mounts cannot be kept private");
  }
}

std::string NameOf(FileSystem kind) { return kind == FileSystem::kTmpfs ? "tmpfs" : "ext4"; }

SmallDisk::SmallDisk(FileSystem kind, const std::string& folder, std::uint64_t bytes)
    : kind_(kind), mount_point_(NewFolder(folder)), bytes_(bytes), filler_(Path("filler")) {
  if (kind == FileSystem::kTmpfs) {
    MountTmpfs();
  } else {
    AttachImage();
    MountImage();
  }
}

SmallDisk::~SmallDisk() {
  umount2(mount_point_.c_str(), MNT_DETACH);
  rmdir(mount_point_.c_str());
}

std::uint64_t SmallDisk::block_bytes() const { return Statistics(mount_point_).f_frsize; }

std::uint64_t SmallDisk::FreeBlocks() const { return Statistics(mount_point_).f_bavail; }

void SmallDisk::MountTmpfs() {
  // A folder that others may write to would not do for a journal.
  const std::string options = fmt::format("size={},mode=0755", bytes_);
  if (mount("tmpfs", mount_point_.c_str(), "tmpfs", 0, options.c_str()) != 0) {
    Missing("tmpfs cannot be mounted");
  }
}

void SmallDisk::AttachImage() {
  image_ = host::Descriptor(memfd_create("disk", MFD_CLOEXEC));
  Check(image_.IsOpen() && ftruncate(image_.get(), static_cast<off_t>(bytes_)) == 0, "an image");
  const host::Descriptor control(open("/dev/loop-control", O_RDWR | O_CLOEXEC));
  if (!control.IsOpen()) Missing("there are no loop devices");
  loop_config config = {};
  config.fd = static_cast<unsigned int>(image_.get());
  config.info.lo_flags = LO_FLAGS_AUTOCLEAR;
  // Others may be quicker to take the device that was free.
  for (int i = 0; i < kAttempts; ++i) {
    const int number = ioctl(control.get(), LOOP_CTL_GET_FREE);
    if (number < 0) Missing("no loop device is free");
    device_ = fmt::format("/dev/loop{}", number);
    loop_ = host::Descriptor(open(device_.c_str(), O_RDWR | O_CLOEXEC));
    if (loop_.IsOpen() && ioctl(loop_.get(), LOOP_CONFIGURE, &config) == 0) break;
    if (errno != EBUSY) Missing("a loop device cannot be set up");
    loop_ = host::Descriptor();
  }
  if (!loop_.IsOpen()) Missing("no loop device can be had");
  const int made = MakeFileSystem(device_);
  if (made == 127) throw CannotRun("mkfs.ext4 is missing (package e2fsprogs)");
  if (made != 0) throw std::runtime_error("mkfs.ext4 failed");
}

void SmallDisk::MountImage() {
  if (mount(device_.c_str(), mount_point_.c_str(), "ext4", 0, nullptr) != 0) {
    Missing("ext4 cannot be mounted");
  }
}

void SmallDisk::FillTo(std::uint64_t blocks) {
  const host::Descriptor file(open(filler_.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
  Check(file.IsOpen(), filler_);
  const std::uint64_t block = block_bytes();
  // The file itself may need blocks to say where its blocks are, so one step does not do.
  for (int i = 0; i < kAttempts; ++i) {
    Check(syncfs(file.get()) == 0, "syncfs");  // only then what was freed is free
    const std::uint64_t now = FreeBlocks();
    if (now == blocks) return;
    struct stat status = {};
    Check(fstat(file.get(), &status) == 0, "fstat");
    const auto length = static_cast<std::uint64_t>(status.st_size);
    if (now > blocks) {
      Grow(file.get(), length, length + std::max<std::uint64_t>(1, (now - blocks) / 2) * block);
    } else {
      Check(ftruncate(file.get(), static_cast<off_t>(length - (blocks - now) * block)) == 0,
            "ftruncate");
    }
  }
  throw std::runtime_error(fmt::format("a disk cannot be filled to {} free blocks", blocks));
}

void SmallDisk::Free() {
  Check(unlink(filler_.c_str()) == 0, filler_);
  const host::Descriptor folder(open(mount_point_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  Check(folder.IsOpen() && syncfs(folder.get()) == 0, mount_point_);
}

void SmallDisk::Remount() {
  Check(umount2(mount_point_.c_str(), 0) == 0, "umount");
  // The device has a cache of its own.
  Check(ioctl(loop_.get(), BLKFLSBUF, 0) == 0, "flushing a loop device");
  MountImage();
}

void SmallDisk::LoseBeyond(std::uint64_t bytes) {
  Check(ftruncate(image_.get(), static_cast<off_t>(bytes)) == 0, "cutting an image");
}

}  // namespace packetdb::faults
