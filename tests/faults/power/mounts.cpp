#include "tests/faults/power/mounts.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fmt/format.h>
#include <fstream>
#include <linux/loop.h>
#include <sched.h>
#include <stdexcept>
#include <sys/ioctl.h>
#include <sys/mount.h>

#include "tests/faults/power/process.h"
#include "tests/faults/program.h"

namespace packetdb::faults {
namespace {

constexpr unsigned int kLoopSectorSize = 512;
constexpr std::uintmax_t kExt4Size = 24U << 20U;
constexpr std::uintmax_t kXfsSize = 320U << 20U;  // less is refused

void MakeEmptyFile(const std::string& path, std::uintmax_t size) {
  std::ofstream(path, std::ios::binary).flush();
  std::filesystem::resize_file(path, size);
}

}  // namespace

void EnterPrivateMounts() {
  if (unshare(CLONE_NEWNS) != 0 || mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) {
    throw CannotRun(std::string("no mount namespace of its own: ") + std::strerror(errno));
  }
}

LoopDevice::LoopDevice(const host::Descriptor& file) {
  const host::Descriptor control(open("/dev/loop-control", O_RDWR | O_CLOEXEC));
  if (!control.IsOpen()) {
    throw CannotRun(std::string("no loop devices: /dev/loop-control: ") + std::strerror(errno));
  }
  // Somebody else may take the device that was free a moment ago.
  constexpr int kAttempts = 100;
  for (int i = 0; i < kAttempts; ++i) {
    if (TakeFree(control.get(), file)) return;
  }
  throw CannotRun("no free loop device");
}

bool LoopDevice::TakeFree(int control, const host::Descriptor& file) {
  const int number = ioctl(control, LOOP_CTL_GET_FREE);
  if (number < 0) return false;
  path_ = fmt::format("/dev/loop{}", number);
  device_ = host::Descriptor(open(path_.c_str(), O_RDWR | O_CLOEXEC));
  if (!device_.IsOpen()) return false;
  loop_config config = {};
  config.fd = static_cast<std::uint32_t>(file.get());
  config.block_size = kLoopSectorSize;
  config.info.lo_flags = LO_FLAGS_AUTOCLEAR;
  if (ioctl(device_.get(), LOOP_CONFIGURE, &config) == 0) return true;
  if (errno == EBUSY) return false;
  throw CannotRun(fmt::format("{} takes no file: {}", path_, std::strerror(errno)));
}

LoopDevice::~LoopDevice() { ioctl(device_.get(), LOOP_CLR_FD); }

const char* NameOf(FileSystem kind) { return kind == FileSystem::kExt4 ? "ext4" : "xfs"; }

void MakeFileSystem(FileSystem kind, const std::string& path) {
  if (kind == FileSystem::kXfs) {
    MakeEmptyFile(path, kXfsSize);
    RunCommand({"mkfs.xfs", "-q", "-f", path});
    return;
  }
  MakeEmptyFile(path, kExt4Size);
  // Nothing is left to be done by the kernel at leisure, which would come between what is tested.
  RunCommand({"mkfs.ext4", "-q", "-F", "-m", "0", "-b", "4096", "-J", "size=4", "-E",
              "lazy_itable_init=0,lazy_journal_init=0", path});
}

Mount::Mount(FileSystem kind, const LoopDevice& device, const std::string& folder)
    : folder_(folder) {
  std::filesystem::create_directories(folder);
  const char* const options = kind == FileSystem::kXfs ? "nouuid" : "";
  if (mount(device.path().c_str(), folder.c_str(), NameOf(kind), MS_NOATIME, options) == 0) return;
  if (errno == ENODEV || errno == EPERM) {
    throw CannotRun(
        fmt::format("{} cannot be mounted here: {}", NameOf(kind), std::strerror(errno)));
  }
  throw std::runtime_error(
      fmt::format("{} does not mount: {}", NameOf(kind), std::strerror(errno)));
}

Mount::~Mount() {
  if (umount2(folder_.c_str(), 0) != 0) umount2(folder_.c_str(), MNT_DETACH);
}

void ShutDown(const std::string& folder, bool with_log) {
  // The same number in both file systems; 1 writes the log first, 2 does not.
  const auto kShutDown = _IOR('X', 125, std::uint32_t);
  std::uint32_t flags = with_log ? 1 : 2;
  const host::Descriptor directory(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (ioctl(directory.get(), kShutDown, &flags) == 0) return;
  throw CannotRun(std::string("a file system cannot be shut down: ") + std::strerror(errno));
}

}  // namespace packetdb::faults
