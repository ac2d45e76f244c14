#include "host/config/text_file.h"

#include <algorithm>
#include <cerrno>
#include <dirent.h>
#include <fcntl.h>
#include <fmt/format.h>
#include <memory>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace packetdb::host {
namespace {

constexpr std::size_t kReadSize = 1 << 16;

std::string Reason(int error) { return std::generic_category().message(error); }

TextFile Unreadable(int error) {
  return {"", fmt::format("cannot be read: {}", Reason(error)), error == ENOENT};
}

TextFile TooLarge(std::size_t limit) {
  return {"", fmt::format("is larger than {} bytes, which is the limit", limit)};
}

std::string ObstacleOf(const struct stat& status) {
  if (S_ISDIR(status.st_mode)) return "is a directory";
  return S_ISREG(status.st_mode) ? "" : "is not a regular file";
}

TextFile ReadAll(int fd, std::size_t limit) {
  TextFile file;
  std::size_t size = 0;
  // One byte beyond the limit tells a file that grew from one that ends there.
  while (size <= limit) {
    file.text.resize(std::min(size + kReadSize, limit + 1));
    const ssize_t count = read(fd, file.text.data() + size, file.text.size() - size);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return Unreadable(errno);
    size += static_cast<std::size_t>(count);
    if (count == 0) break;
  }
  if (size > limit) return TooLarge(limit);
  file.text.resize(size);
  return file;
}

TextFile ReadOpen(int fd, std::size_t limit) {
  struct stat status {};
  if (fstat(fd, &status) != 0) return Unreadable(errno);
  if (std::string obstacle = ObstacleOf(status); !obstacle.empty()) return {"", obstacle};
  if (static_cast<std::uint64_t>(status.st_size) > limit) return TooLarge(limit);
  return ReadAll(fd, limit);
}

struct CloseFolder {
  void operator()(DIR* folder) const { closedir(folder); }
};

}  // namespace

TextFile ReadTextFile(const std::string& path, std::size_t limit) {
  // O_NONBLOCK, or a pipe would hold us until somebody writes to it.
  int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
  while (fd < 0 && errno == EINTR) {
    fd = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
  }
  if (fd < 0) return Unreadable(errno);
  TextFile file = ReadOpen(fd, limit);
  close(fd);
  return file;
}

FolderFiles FindFiles(const std::string& folder, const std::string& suffix) {
  FolderFiles found;
  const std::unique_ptr<DIR, CloseFolder> open_folder(opendir(folder.c_str()));
  if (open_folder == nullptr) {
    if (errno != ENOENT) found.problem = fmt::format("cannot be read: {}", Reason(errno));
    return found;
  }
  errno = 0;
  while (const dirent* entry = readdir(open_folder.get())) {
    const std::string name = static_cast<const char*>(entry->d_name);
    if (name.front() != '.' && name.ends_with(suffix)) {
      found.paths.push_back(fmt::format("{}/{}", folder, name));
    }
  }
  if (errno != 0) found.problem = fmt::format("cannot be read: {}", Reason(errno));
  std::sort(found.paths.begin(), found.paths.end());
  return found;
}

}  // namespace packetdb::host
