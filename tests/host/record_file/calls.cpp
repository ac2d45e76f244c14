#include "tests/host/record_file/calls.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <dlfcn.h>
#include <fcntl.h>
#include <memory>
#include <pthread.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>
#include <utility>

namespace packetdb::host {
namespace {

constexpr std::array kNames = {
    "open",          "stat",      "fstat",           "lstat",     "fcntl",
    "read",          "pread",     "pwrite",          "mmap",      "mremap",
    "fsync",         "fdatasync", "posix_fallocate", "ftruncate", "fchmod",
    "renameat2",     "unlink",    "fstatfs",         "ioctl",     "geteuid",
    "pthread_create"};

std::atomic<const Hook*> active{nullptr};
thread_local bool is_in_hook = false;

// What to return instead of making the call, with errno set.
std::optional<long> Ask(const Made& made) {
  const Hook* const hook = active.load();
  if (hook == nullptr || is_in_hook) return std::nullopt;
  is_in_hook = true;
  const std::optional<Instead> instead = (*hook)(made);
  is_in_hook = false;
  if (!instead) return std::nullopt;
  errno = instead->error;
  return instead->result;
}

template <class Function>
Function* Real(Call call) {
  // What dlsym returns for a function's name is that function.
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, NameOf(call)));
}

// A hook that acts on calls of one kind, and is told the number of each.
template <class Act>
Hook Counted(Call call, Act act) {
  const auto count = std::make_shared<std::atomic<int>>(0);
  return [=](const Made& made) -> std::optional<Instead> {
    return made.call == call ? act(++*count) : std::nullopt;
  };
}

}  // namespace

const char* NameOf(Call call) { return kNames[static_cast<std::size_t>(call)]; }

Interposition::Interposition(Hook hook) : hook_(std::move(hook)) { active.store(&hook_); }

Interposition::~Interposition() { active.store(nullptr); }

Hook FailNth(Call call, int nth, int error) {
  return Counted(call, [=](int count) -> std::optional<Instead> {
    if (count != nth) return std::nullopt;
    return Instead{-1, error};
  });
}

Hook FailFrom(Call call, int nth, int error) {
  return Counted(call, [=](int count) -> std::optional<Instead> {
    if (count < nth) return std::nullopt;
    return Instead{-1, error};
  });
}

Hook BeforeNth(Call call, int nth, std::function<void()> act) {
  return Counted(call, [=, act = std::move(act)](int count) -> std::optional<Instead> {
    if (count == nth) act();
    return std::nullopt;
  });
}

Hook ReturnAtNth(Call call, int nth, long result) {
  return Counted(call, [=](int count) -> std::optional<Instead> {
    if (count != nth) return std::nullopt;
    return Instead{result, 0};
  });
}

Hook Both(Hook first, Hook second) {
  return [=](const Made& made) -> std::optional<Instead> {
    const std::optional<Instead> instead = first(made);
    return instead ? instead : second(made);
  };
}

}  // namespace packetdb::host

using packetdb::host::Ask;
using packetdb::host::Call;
using packetdb::host::Made;
using packetdb::host::Real;

extern "C" {

int open(const char* path, int flags, ...) {
  va_list arguments;
  va_start(arguments, flags);
  const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
  va_end(arguments);
  const auto instead = Ask({Call::kOpen, path});
  if (instead) return static_cast<int>(*instead);
  return Real<int(const char*, int, ...)>(Call::kOpen)(path, flags, mode);
}

int stat(const char* path, struct stat* out) noexcept {
  const auto instead = Ask({Call::kStat, path, out});
  return instead ? static_cast<int>(*instead)
                 : Real<int(const char*, struct stat*)>(Call::kStat)(path, out);
}

int fstat(int fd, struct stat* out) noexcept {
  const auto instead = Ask({Call::kFstat, "", out});
  return instead ? static_cast<int>(*instead) : Real<int(int, struct stat*)>(Call::kFstat)(fd, out);
}

int lstat(const char* path, struct stat* out) noexcept {
  const auto instead = Ask({Call::kLstat, path, out});
  return instead ? static_cast<int>(*instead)
                 : Real<int(const char*, struct stat*)>(Call::kLstat)(path, out);
}

int fcntl(int fd, int command, ...) {
  va_list arguments;
  va_start(arguments, command);
  void* const argument = va_arg(arguments, void*);
  va_end(arguments);
  const auto instead = Ask({Call::kFcntl});
  if (instead) return static_cast<int>(*instead);
  return Real<int(int, int, ...)>(Call::kFcntl)(fd, command, argument);
}

ssize_t read(int fd, void* bytes, size_t size) {
  const auto instead = Ask({Call::kRead, "", bytes});
  return instead ? *instead : Real<ssize_t(int, void*, size_t)>(Call::kRead)(fd, bytes, size);
}

ssize_t pread(int fd, void* bytes, size_t size, off_t offset) {
  const auto instead = Ask({Call::kPread});
  return instead ? *instead
                 : Real<ssize_t(int, void*, size_t, off_t)>(Call::kPread)(fd, bytes, size, offset);
}

ssize_t pwrite(int fd, const void* bytes, size_t size, off_t offset) {
  const auto instead = Ask({Call::kPwrite});
  if (instead) return *instead;
  return Real<ssize_t(int, const void*, size_t, off_t)>(Call::kPwrite)(fd, bytes, size, offset);
}

void* mmap(void* at, size_t length, int protection, int flags, int fd, off_t offset) noexcept {
  // Other memory that is no file's is the C library's business.
  const bool is_ours = fd >= 0 || (flags & MAP_FIXED) != 0;
  const auto instead = is_ours ? Ask({Call::kMmap}) : std::nullopt;
  if (instead) return MAP_FAILED;
  return Real<void*(void*, size_t, int, int, int, off_t)>(Call::kMmap)(at, length, protection,
                                                                       flags, fd, offset);
}

void* mremap(void* at, size_t old_length, size_t length, int flags, ...) noexcept {
  const auto instead = Ask({Call::kMremap});
  if (instead) return MAP_FAILED;
  return Real<void*(void*, size_t, size_t, int, ...)>(Call::kMremap)(at, old_length, length, flags);
}

int fsync(int fd) {
  const auto instead = Ask({Call::kFsync});
  return instead ? static_cast<int>(*instead) : Real<int(int)>(Call::kFsync)(fd);
}

int fdatasync(int fd) {
  const auto instead = Ask({Call::kFdatasync});
  return instead ? static_cast<int>(*instead) : Real<int(int)>(Call::kFdatasync)(fd);
}

// Returns the error itself.
int posix_fallocate(int fd, off_t offset, off_t length) {
  if (Ask({Call::kFallocate})) return errno;
  return Real<int(int, off_t, off_t)>(Call::kFallocate)(fd, offset, length);
}

int ftruncate(int fd, off_t length) noexcept {
  const auto instead = Ask({Call::kFtruncate});
  return instead ? static_cast<int>(*instead) : Real<int(int, off_t)>(Call::kFtruncate)(fd, length);
}

int fchmod(int fd, mode_t mode) noexcept {
  const auto instead = Ask({Call::kFchmod});
  return instead ? static_cast<int>(*instead) : Real<int(int, mode_t)>(Call::kFchmod)(fd, mode);
}

int renameat2(int from_folder, const char* from, int to_folder, const char* to,
              unsigned int flags) noexcept {
  const auto instead = Ask({Call::kRename, to});
  if (instead) return static_cast<int>(*instead);
  return Real<int(int, const char*, int, const char*, unsigned int)>(Call::kRename)(
      from_folder, from, to_folder, to, flags);
}

int unlink(const char* path) noexcept {
  const auto instead = Ask({Call::kUnlink, path});
  return instead ? static_cast<int>(*instead) : Real<int(const char*)>(Call::kUnlink)(path);
}

int fstatfs(int fd, struct statfs* out) noexcept {
  const auto instead = Ask({Call::kFstatfs, "", out});
  return instead ? static_cast<int>(*instead)
                 : Real<int(int, struct statfs*)>(Call::kFstatfs)(fd, out);
}

int ioctl(int fd, unsigned long request, ...) noexcept {
  va_list arguments;
  va_start(arguments, request);
  void* const argument = va_arg(arguments, void*);
  va_end(arguments);
  const auto instead = Ask({Call::kIoctl, "", argument});
  if (instead) return static_cast<int>(*instead);
  return Real<int(int, unsigned long, ...)>(Call::kIoctl)(fd, request, argument);
}

uid_t geteuid() noexcept {
  const auto instead = Ask({Call::kGeteuid});
  return instead ? static_cast<uid_t>(*instead) : Real<uid_t()>(Call::kGeteuid)();
}

// Returns the error itself.
int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*run)(void*),
                   void* argument) noexcept {
  if (Ask({Call::kThread})) return errno;
  return Real<int(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*)>(Call::kThread)(
      thread, attributes, run, argument);
}

}  // extern "C"
