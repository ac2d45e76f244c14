#include "host/journals/files.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <fmt/format.h>
#include <unistd.h>
#include <utility>

#include "host/journals/system_call.h"

namespace packetdb::host {

namespace {

bool Sync(const Descriptor& file) {
  return Uninterrupted([&] { return fsync(file.get()); }) == 0;
}

// A name of this process's own for a file that is being made; no file has it before or after.
class TemporaryFile {
 public:
  explicit TemporaryFile(std::string path) : path_(std::move(path)) { unlink(path_.c_str()); }
  ~TemporaryFile() { unlink(path_.c_str()); }
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;

  const std::string& path() const { return path_; }

 private:
  std::string path_;
};

}  // namespace

bool ReadSmallFile(const std::string& path, std::size_t limit, std::string* text) {
  const Descriptor file = OpenSmallFile(path, O_RDONLY);
  if (file.get() < 0) {
    if (errno == ENOENT) {
      return false;
    }
    ThrowSystemError("open", path, errno);
  }
  *text = ReadOpenFile(file, limit, path);
  return true;
}

void CreateSmallFile(const std::string& path, std::string_view text) {
  const TemporaryFile fresh(fmt::format("{}.~{}", path, getpid()));
  {
    const Descriptor file = OpenSmallFile(fresh.path(), O_WRONLY | O_CREAT | O_EXCL);
    if (file.get() < 0) {
      ThrowSystemError("create", fresh.path(), errno);
    }
    WriteOpenFile(file, text, 0, fresh.path());
    if (!Sync(file)) {
      ThrowSystemError("sync", fresh.path(), errno);
    }
  }
  if (renameat2(AT_FDCWD, fresh.path().c_str(), AT_FDCWD, path.c_str(), RENAME_NOREPLACE) != 0 &&
      errno != EEXIST) {
    ThrowSystemError("create", path, errno);
  }
  SyncDirectoryOf(path);
}

void SyncFile(const std::string& path) {
  const Descriptor file = OpenSmallFile(path, O_RDONLY);
  if (file.get() < 0 || !Sync(file)) {
    ThrowSystemError("sync", path, errno);
  }
}

void SyncDirectoryOf(const std::string& path) {
  const std::filesystem::path parent = std::filesystem::path(path).parent_path();
  // The directory itself may be a symbolic link: what is behind it is opened.
  const std::string name = (parent / ".").string();
  const Descriptor directory = OpenSmallFile(name, O_RDONLY | O_DIRECTORY);
  if (directory.get() < 0 || !Sync(directory)) {
    ThrowSystemError("sync the directory", name, errno);
  }
}

}  // namespace packetdb::host
