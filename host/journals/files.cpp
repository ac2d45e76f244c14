#include "host/journals/files.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

#include "host/journals/error.h"
#include "host/record_file/descriptor.h"

namespace packetdb::host {

namespace {

[[noreturn]] void Fail(const char* what, const std::string& path, int error) {
  throw JournalError(fmt::format("cannot {} {}: {}", what, path, std::strerror(error)));
}

// Makes a call again that a signal interrupted: some file systems let that happen at any of them.
template <class SystemCall>
int Uninterrupted(SystemCall call) {
  int result = call();
  while (result < 0 && errno == EINTR) {
    result = call();
  }
  return result;
}

Descriptor Open(const std::string& path, int flags) {
  const int all = flags | O_CLOEXEC | O_NOFOLLOW | O_NOCTTY | O_NONBLOCK;
  return Descriptor(Uninterrupted([&] { return open(path.c_str(), all, 0640); }));
}

bool Sync(const Descriptor& file) {
  return Uninterrupted([&] { return fsync(file.get()); }) == 0;
}

// A name of this process's own for a file that is being made; no file has it before or after.
class Temporary {
 public:
  explicit Temporary(std::string path) : path_(std::move(path)) { unlink(path_.c_str()); }
  ~Temporary() { unlink(path_.c_str()); }
  Temporary(const Temporary&) = delete;
  Temporary& operator=(const Temporary&) = delete;

  const std::string& path() const { return path_; }

 private:
  std::string path_;
};

void WriteAll(int fd, std::string_view text, std::size_t offset, const std::string& path) {
  while (!text.empty()) {
    const ssize_t written = pwrite(fd, text.data(), text.size(), static_cast<off_t>(offset));
    if (written < 0 && errno != EINTR) {
      Fail("write", path, errno);
    }
    if (written > 0) {
      text.remove_prefix(static_cast<std::size_t>(written));
      offset += static_cast<std::size_t>(written);
    }
  }
}

std::string ReadAll(int fd, std::size_t size, const std::string& path) {
  std::string text(size, '\0');
  std::size_t have = 0;
  while (have < size) {
    const ssize_t got = pread(fd, text.data() + have, size - have, static_cast<off_t>(have));
    if (got < 0 && errno != EINTR) {
      Fail("read", path, errno);
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

bool ReadSmallFile(const std::string& path, std::size_t limit, std::string* text) {
  const Descriptor file = Open(path, O_RDONLY);
  if (file.get() < 0) {
    if (errno == ENOENT) {
      return false;
    }
    Fail("open", path, errno);
  }
  struct stat status {};
  if (fstat(file.get(), &status) != 0) {
    Fail("examine", path, errno);
  }
  if (!S_ISREG(status.st_mode)) {
    throw JournalError(fmt::format("cannot read {}: not a regular file", path));
  }
  if (static_cast<std::size_t>(status.st_size) > limit) {
    throw JournalError(fmt::format("cannot read {}: {} bytes are more than the {} expected", path,
                                   status.st_size, limit));
  }
  *text = ReadAll(file.get(), static_cast<std::size_t>(status.st_size), path);
  return true;
}

void CreateSmallFile(const std::string& path, std::string_view text) {
  const Temporary fresh(fmt::format("{}.~{}", path, getpid()));
  {
    const Descriptor file = Open(fresh.path(), O_WRONLY | O_CREAT | O_EXCL);
    if (file.get() < 0) {
      Fail("create", fresh.path(), errno);
    }
    WriteAll(file.get(), text, 0, fresh.path());
    if (!Sync(file)) {
      Fail("sync", fresh.path(), errno);
    }
  }
  if (renameat2(AT_FDCWD, fresh.path().c_str(), AT_FDCWD, path.c_str(), RENAME_NOREPLACE) != 0 &&
      errno != EEXIST) {
    Fail("create", path, errno);
  }
  SyncDirectoryOf(path);
}

void WriteTail(const std::string& path, std::size_t offset, std::string_view text) {
  const Descriptor file = Open(path, O_WRONLY);
  if (file.get() < 0) {
    Fail("open", path, errno);
  }
  if (Uninterrupted([&] { return ftruncate(file.get(), static_cast<off_t>(offset)); }) != 0) {
    Fail("write", path, errno);
  }
  WriteAll(file.get(), text, offset, path);
  if (Uninterrupted([&] { return fdatasync(file.get()); }) != 0) {
    Fail("sync", path, errno);
  }
}

void SyncFile(const std::string& path) {
  const Descriptor file = Open(path, O_RDONLY);
  if (file.get() < 0 || !Sync(file)) {
    Fail("sync", path, errno);
  }
}

void SyncDirectoryOf(const std::string& path) {
  const std::filesystem::path parent = std::filesystem::path(path).parent_path();
  // The directory itself may be a symbolic link: what is behind it is opened.
  const std::string name = (parent / ".").string();
  const Descriptor directory = Open(name, O_RDONLY | O_DIRECTORY);
  if (directory.get() < 0 || !Sync(directory)) {
    Fail("sync the directory", name, errno);
  }
}

}  // namespace packetdb::host
