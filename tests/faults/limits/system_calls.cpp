#include "tests/faults/limits/system_calls.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>
#include <fcntl.h>
#include <mutex>
#include <pthread.h>
#include <string_view>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace packetdb::faults {
namespace {

std::atomic<bool> armed = false;
std::mutex plan_mutex;
CallFault plan;
CallReport report;

constexpr std::array<std::string_view, 12> kInterruptible = {
    "open",      "openat", "pread",     "pwrite",          "read",     "write", "fsync",
    "fdatasync", "msync",  "ftruncate", "posix_fallocate", "fallocate"};

bool CanFailSo(std::string_view name, int error) {
  const bool interruptible =
      std::find(kInterruptible.begin(), kInterruptible.end(), name) != kInterruptible.end();
  return error != EINTR || interruptible;
}

bool CanBeShort(std::string_view name) {
  return name == "pread" || name == "pwrite" || name == "read" || name == "write";
}

// Counts a call. Whether it is one that something befalls.
bool Befalls(std::string_view name) {
  if (!armed.load(std::memory_order_acquire)) return false;
  const std::lock_guard lock(plan_mutex);
  if (!plan.only.empty() && plan.only != name) return false;
  ++report.calls;
  report.last_call = name;
  const bool chosen =
      plan.nth != 0 && (plan.for_good ? report.calls >= plan.nth : report.calls == plan.nth);
  if (!chosen || !(plan.error == 0 ? CanBeShort(name) : CanFailSo(name, plan.error))) return false;
  if (report.failed++ == 0) report.first_failed = name;
  report.unlink_failed = report.unlink_failed || name == "unlink" || name == "unlinkat";
  return true;
}

// The errno of a call that is to fail; 0 when it is not.
int ErrorFor(std::string_view name) { return Befalls(name) ? plan.error : 0; }

template <class Function>
Function* Next(const char* name) {
  auto* const next = reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
  if (next == nullptr) abort();
  return next;
}

// Of calls that say -1 and errno.
template <class Result = int, class Function, class... Arguments>
Result Call(const char* name, Function* next, Arguments... arguments) {
  if (const int error = ErrorFor(name); error != 0) {
    errno = error;
    return Result(-1);
  }
  return static_cast<Result>(next(arguments...));
}

// How many of `count` bytes a read or a write is to move; -1 when it is to fail.
ssize_t Moved(const char* name, size_t count) {
  if (!Befalls(name)) return static_cast<ssize_t>(count);
  if (plan.error == 0) return static_cast<ssize_t>(count / 2 + count % 2);
  errno = plan.error;
  return -1;
}

}  // namespace

std::vector<FaultKind> FaultKinds() {
  std::vector<FaultKind> kinds = {{"interrupted", EINTR, false}};
  for (const bool for_good : {false, true}) {
    const std::string suffix = for_good ? " for good" : "";
    kinds.push_back({"EIO" + suffix, EIO, for_good});
    kinds.push_back({"ENOSPC" + suffix, ENOSPC, for_good});
    kinds.push_back({"EAGAIN" + suffix, EAGAIN, for_good});
    kinds.push_back({"ENOMEM" + suffix, ENOMEM, for_good});
    kinds.push_back({"short" + suffix, 0, for_good});
  }
  return kinds;
}

void AddStride(CLI::App& app, std::uint64_t* every) {
  app.add_option("--every", *every, "of how many calls one fails, from one that the seed chooses")
      ->check(CLI::PositiveNumber)
      ->capture_default_str();
}

void Arm(const CallFault& fault) {
  const std::lock_guard lock(plan_mutex);
  plan = fault;
  report = {};
  armed.store(true, std::memory_order_release);
}

CallReport Disarm() {
  const std::lock_guard lock(plan_mutex);
  armed.store(false, std::memory_order_release);
  return report;
}

}  // namespace packetdb::faults

namespace faults = packetdb::faults;
using faults::Next;

namespace {

// The third argument of open and openat is there only when a file may be made.
mode_t ModeOf(int flags, va_list arguments) {
  return (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(arguments, mode_t) : 0;
}

}  // namespace

extern "C" {

int open(const char* path, int flags, ...) {
  va_list arguments;
  va_start(arguments, flags);
  const mode_t mode = ModeOf(flags, arguments);
  va_end(arguments);
  static auto* const next = Next<int(const char*, int, ...)>("open");
  return faults::Call("open", next, path, flags, mode);
}

int openat(int folder, const char* path, int flags, ...) {
  va_list arguments;
  va_start(arguments, flags);
  const mode_t mode = ModeOf(flags, arguments);
  va_end(arguments);
  static auto* const next = Next<int(int, const char*, int, ...)>("openat");
  return faults::Call("openat", next, folder, path, flags, mode);
}

// All that we and the record file pass is a number or a pointer, and both travel alike.
int fcntl(int file, int command, ...) {
  va_list arguments;
  va_start(arguments, command);
  void* const argument = va_arg(arguments, void*);
  va_end(arguments);
  static auto* const next = Next<int(int, int, ...)>("fcntl");
  return faults::Call("fcntl", next, file, command, argument);
}

int fstat(int file, struct stat* status) noexcept {
  static auto* const next = Next<int(int, struct stat*)>("fstat");
  return faults::Call("fstat", next, file, status);
}

int stat(const char* path, struct stat* status) noexcept {
  static auto* const next = Next<int(const char*, struct stat*)>("stat");
  return faults::Call("stat", next, path, status);
}

int lstat(const char* path, struct stat* status) noexcept {
  static auto* const next = Next<int(const char*, struct stat*)>("lstat");
  return faults::Call("lstat", next, path, status);
}

int fchmod(int file, mode_t mode) noexcept {
  static auto* const next = Next<int(int, mode_t)>("fchmod");
  return faults::Call("fchmod", next, file, mode);
}

int fchown(int file, uid_t user, gid_t group) noexcept {
  static auto* const next = Next<int(int, uid_t, gid_t)>("fchown");
  return faults::Call("fchown", next, file, user, group);
}

ssize_t read(int file, void* bytes, size_t count) {
  static auto* const next = Next<ssize_t(int, void*, size_t)>("read");
  const ssize_t moved = faults::Moved("read", count);
  return moved < 0 ? -1 : next(file, bytes, static_cast<size_t>(moved));
}

ssize_t write(int file, const void* bytes, size_t count) {
  static auto* const next = Next<ssize_t(int, const void*, size_t)>("write");
  const ssize_t moved = faults::Moved("write", count);
  return moved < 0 ? -1 : next(file, bytes, static_cast<size_t>(moved));
}

ssize_t pread(int file, void* bytes, size_t count, off_t offset) {
  static auto* const next = Next<ssize_t(int, void*, size_t, off_t)>("pread");
  const ssize_t moved = faults::Moved("pread", count);
  return moved < 0 ? -1 : next(file, bytes, static_cast<size_t>(moved), offset);
}

ssize_t pwrite(int file, const void* bytes, size_t count, off_t offset) {
  static auto* const next = Next<ssize_t(int, const void*, size_t, off_t)>("pwrite");
  const ssize_t moved = faults::Moved("pwrite", count);
  return moved < 0 ? -1 : next(file, bytes, static_cast<size_t>(moved), offset);
}

void* mmap(void* address, size_t length, int access, int flags, int file, off_t offset) noexcept {
  static auto* const next = Next<void*(void*, size_t, int, int, int, off_t)>("mmap");
  const int error = faults::ErrorFor("mmap");
  if (error == 0) return next(address, length, access, flags, file, offset);
  errno = error;
  return MAP_FAILED;
}

void* mremap(void* address, size_t length, size_t wanted, int flags, ...) noexcept {
  va_list arguments;
  va_start(arguments, flags);
  void* const place = (flags & MREMAP_FIXED) != 0 ? va_arg(arguments, void*) : nullptr;
  va_end(arguments);
  static auto* const next = Next<void*(void*, size_t, size_t, int, ...)>("mremap");
  const int error = faults::ErrorFor("mremap");
  if (error == 0) return next(address, length, wanted, flags, place);
  errno = error;
  return MAP_FAILED;
}

int mprotect(void* address, size_t length, int access) noexcept {
  static auto* const next = Next<int(void*, size_t, int)>("mprotect");
  return faults::Call("mprotect", next, address, length, access);
}

int madvise(void* address, size_t length, int advice) noexcept {
  static auto* const next = Next<int(void*, size_t, int)>("madvise");
  return faults::Call("madvise", next, address, length, advice);
}

int msync(void* address, size_t length, int flags) {
  static auto* const next = Next<int(void*, size_t, int)>("msync");
  return faults::Call("msync", next, address, length, flags);
}

int fsync(int file) {
  static auto* const next = Next<int(int)>("fsync");
  return faults::Call("fsync", next, file);
}

int fdatasync(int file) {
  static auto* const next = Next<int(int)>("fdatasync");
  return faults::Call("fdatasync", next, file);
}

int ftruncate(int file, off_t length) noexcept {
  static auto* const next = Next<int(int, off_t)>("ftruncate");
  return faults::Call("ftruncate", next, file, length);
}

int posix_fallocate(int file, off_t offset, off_t length) {
  static auto* const next = Next<int(int, off_t, off_t)>("posix_fallocate");
  const int error = faults::ErrorFor("posix_fallocate");  // which it returns, leaving errno alone
  return error != 0 ? error : next(file, offset, length);
}

int fallocate(int file, int mode, off_t offset, off_t length) {
  static auto* const next = Next<int(int, int, off_t, off_t)>("fallocate");
  return faults::Call("fallocate", next, file, mode, offset, length);
}

int rename(const char* from, const char* to) noexcept {
  static auto* const next = Next<int(const char*, const char*)>("rename");
  return faults::Call("rename", next, from, to);
}

int renameat2(int from_folder, const char* from, int to_folder, const char* to,
              unsigned int flags) noexcept {
  static auto* const next =
      Next<int(int, const char*, int, const char*, unsigned int)>("renameat2");
  return faults::Call("renameat2", next, from_folder, from, to_folder, to, flags);
}

int unlink(const char* path) noexcept {
  static auto* const next = Next<int(const char*)>("unlink");
  return faults::Call("unlink", next, path);
}

int unlinkat(int folder, const char* path, int flags) noexcept {
  static auto* const next = Next<int(int, const char*, int)>("unlinkat");
  return faults::Call("unlinkat", next, folder, path, flags);
}

int remove(const char* path) noexcept {
  static auto* const next = Next<int(const char*)>("remove");
  return faults::Call("remove", next, path);
}

int link(const char* path, const char* name) noexcept {
  static auto* const next = Next<int(const char*, const char*)>("link");
  return faults::Call("link", next, path, name);
}

int flock(int file, int operation) noexcept {
  static auto* const next = Next<int(int, int)>("flock");
  return faults::Call("flock", next, file, operation);
}

int chmod(const char* path, mode_t mode) noexcept {
  static auto* const next = Next<int(const char*, mode_t)>("chmod");
  return faults::Call("chmod", next, path, mode);
}

int lchown(const char* path, uid_t user, gid_t group) noexcept {
  static auto* const next = Next<int(const char*, uid_t, gid_t)>("lchown");
  return faults::Call("lchown", next, path, user, group);
}

int dup(int file) noexcept {
  static auto* const next = Next<int(int)>("dup");
  return faults::Call("dup", next, file);
}

int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*run)(void*),
                   void* argument) noexcept {
  static auto* const next =
      Next<int(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*)>("pthread_create");
  const int error = faults::ErrorFor("pthread_create");
  return error != 0 ? error : next(thread, attributes, run, argument);
}

}  // extern "C"
