#include "host/bus/directory_lock.h"

#include <cerrno>
#include <chrono>
#include <fcntl.h>
#include <sys/file.h>
#include <thread>

namespace packetdb::host {
namespace {

// A start holds the lock for a few system calls.
constexpr int kAttempts = 200;
constexpr std::chrono::milliseconds kPause(10);

std::string DirectoryOf(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  if (slash == std::string::npos) return ".";
  return slash == 0 ? "/" : path.substr(0, slash);
}

}  // namespace

bool DirectoryLock::Acquire(const std::string& path, BusFailure* failure) {
  const std::string name = DirectoryOf(path);
  directory_ = SocketDescriptor(open(name.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!directory_.valid()) {
    *failure = MakeSystemFailure(errno, name);
    return false;
  }
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    if (flock(directory_.get(), LOCK_EX | LOCK_NB) == 0) return true;
    if (errno != EWOULDBLOCK && errno != EINTR) {
      *failure = MakeSystemFailure(errno, name);
      return false;
    }
    std::this_thread::sleep_for(kPause);
  }
  *failure = MakeFailure(BusError::kDirectoryBusy, name);
  return false;
}

}  // namespace packetdb::host
