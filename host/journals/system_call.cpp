#include "host/journals/system_call.h"

#include <cstring>
#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include "host/journals/error.h"

namespace packetdb::host {

namespace {

std::string ReadAll(int fd, std::size_t size, const std::string& path) {
  std::string text(size, '\0');
  std::size_t have = 0;
  while (have < size) {
    const ssize_t got = pread(fd, text.data() + have, size - have, static_cast<off_t>(have));
    if (got < 0 && errno != EINTR) {
      ThrowSystemError("read", path, errno);
    }
    if (got == 0) {
      break;  // it became shorter meanwhile
    }
    have += got > 0 ? static_cast<std::size_t>(got) : 0;
  }
  text.resize(have);
  return text;
}

}  // namespace

void ThrowSystemError(const char* what, const std::string& path, int error) {
  throw JournalError(fmt::format("cannot {} {}: {}", what, path, std::strerror(error)));
}

Descriptor OpenSmallFile(const std::string& path, int flags) {
  const int all = flags | O_CLOEXEC | O_NOFOLLOW | O_NOCTTY | O_NONBLOCK;
  return Descriptor(Uninterrupted([&] { return open(path.c_str(), all, 0640); }));
}

std::string ReadOpenFile(const Descriptor& file, std::size_t limit, const std::string& path) {
  struct stat status {};
  if (fstat(file.get(), &status) != 0) {
    ThrowSystemError("examine", path, errno);
  }
  if (!S_ISREG(status.st_mode)) {
    throw JournalError(fmt::format("cannot read {}: not a regular file", path));
  }
  if (static_cast<std::size_t>(status.st_size) > limit) {
    throw JournalError(fmt::format("cannot read {}: {} bytes are more than the {} expected", path,
                                   status.st_size, limit));
  }
  return ReadAll(file.get(), static_cast<std::size_t>(status.st_size), path);
}

void WriteOpenFile(const Descriptor& file, std::string_view text, std::size_t offset,
                   const std::string& path) {
  while (!text.empty()) {
    const ssize_t written =
        pwrite(file.get(), text.data(), text.size(), static_cast<off_t>(offset));
    if (written < 0 && errno != EINTR) {
      ThrowSystemError("write", path, errno);
    }
    if (written > 0) {
      text.remove_prefix(static_cast<std::size_t>(written));
      offset += static_cast<std::size_t>(written);
    }
  }
}

}  // namespace packetdb::host
