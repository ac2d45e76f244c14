#define FUSE_USE_VERSION 35

#include "tests/faults/power/logged_disk.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fuse3/fuse.h>
#include <poll.h>
#include <stdexcept>
#include <string_view>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include "host/record_file/descriptor.h"
#include "tests/faults/power/file_view.h"
#include "tests/faults/program.h"

namespace packetdb::faults {
namespace {

constexpr std::string_view kName = "/disk";

// What the server works on.
struct Disk {
  std::span<char> bytes;
  DiskLog* log;
};

Disk& TheDisk() { return *static_cast<Disk*>(fuse_get_context()->private_data); }

int GetAttributes(const char* path, struct stat* status, fuse_file_info* /*file*/) {
  *status = {};
  if (std::string_view(path) == "/") {
    status->st_mode = S_IFDIR | 0700;
    status->st_nlink = 2;
    return 0;
  }
  if (path != kName) return -ENOENT;
  status->st_mode = S_IFREG | 0600;
  status->st_nlink = 1;
  status->st_size = static_cast<off_t>(TheDisk().bytes.size());
  return 0;
}

std::span<char> Part(const Disk& disk, std::size_t size, off_t offset) {
  const auto begin = std::min(static_cast<std::size_t>(offset), disk.bytes.size());
  return disk.bytes.subspan(begin, std::min(size, disk.bytes.size() - begin));
}

int Read(const char* /*path*/, char* buffer, std::size_t size, off_t offset,
         fuse_file_info* /*file*/) {
  const std::span<char> part = Part(TheDisk(), size, offset);
  std::copy(part.begin(), part.end(), buffer);
  return static_cast<int>(part.size());
}

int Write(const char* /*path*/, const char* buffer, std::size_t size, off_t offset,
          fuse_file_info* /*file*/) {
  Disk& disk = TheDisk();
  const std::span<char> part = Part(disk, size, offset);
  if (part.size() < size) return -ENOSPC;
  if (!disk.log->AddWrite(static_cast<std::uint64_t>(offset), {buffer, size})) return -EIO;
  std::copy_n(buffer, size, part.begin());
  return static_cast<int>(size);
}

int Flush(const char* /*path*/, int /*data_only*/, fuse_file_info* /*file*/) {
  return TheDisk().log->AddFlush() ? 0 : -EIO;
}

// Says through `ready` that the file is there, and serves it until the folder is unmounted.
void Serve(Disk disk, const std::string& folder, const host::Descriptor& ready) {
  fuse_operations operations = {};
  operations.getattr = GetAttributes;
  operations.read = Read;
  operations.write = Write;
  operations.fsync = Flush;
  std::string name = "logged_disk";
  std::array<char*, 2> words = {name.data(), nullptr};
  fuse_args arguments = FUSE_ARGS_INIT(1, words.data());
  fuse* const session = fuse_new(&arguments, &operations, sizeof operations, &disk);
  if (session == nullptr || fuse_mount(session, folder.c_str()) != 0) {
    throw std::runtime_error("FUSE does not mount");
  }
  if (write(ready.get(), "", 1) != 1) return;
  fuse_loop(session);
}

}  // namespace

LoggedDisk::LoggedDisk(const std::string& image, const std::string& folder) : folder_(folder) {
  if (access("/dev/fuse", R_OK | W_OK) != 0) {
    throw CannotRun(std::string("no FUSE: /dev/fuse: ") + std::strerror(errno));
  }
  std::filesystem::create_directories(folder);
  std::array<int, 2> ends = {};
  if (pipe2(ends.data(), O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
  const host::Descriptor seen(ends[0]);
  host::Descriptor ready(ends[1]);
  server_ = std::make_unique<Child>([&] {
    FileView bytes(image);
    Serve({bytes.bytes(), &log_}, folder, ready);
  });
  ready = {};
  char byte = 0;
  if (read(seen.get(), &byte, 1) != 1) throw CannotRun("FUSE does not mount here");
}

// Whoever waits for an answer of the server gets a failure, rather than waiting for ever.
LoggedDisk::~LoggedDisk() {
  server_->Kill();
  umount2(folder_.c_str(), MNT_DETACH);
}

std::string LoggedDisk::path() const { return folder_ + std::string(kName); }

}  // namespace packetdb::faults
