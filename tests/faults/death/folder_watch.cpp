#include "tests/faults/death/folder_watch.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <sys/mman.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace packetdb::faults {
namespace {

namespace fs = std::filesystem;

[[noreturn]] void Fail(const std::string& what) {
  throw std::system_error(errno, std::generic_category(), what);
}

}  // namespace

// One file, mapped, so that looking at it costs no system call.
class FolderWatch::File {
 public:
  explicit File(const std::string& path) : name_(fs::path(path).filename()) {
    const int descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW);
    if (descriptor < 0 || fstat(descriptor, &status_) != 0) Fail(path);
    length_ = static_cast<std::size_t>(status_.st_size);
    if (length_ != 0) bytes_ = mmap(nullptr, length_, PROT_READ, MAP_SHARED, descriptor, 0);
    close(descriptor);
    if (bytes_ == MAP_FAILED) Fail(path);
    seen_.resize(length_);
    Changed();
  }
  ~File() {
    if (bytes_ != nullptr) munmap(bytes_, length_);
  }
  File(const File&) = delete;
  File& operator=(const File&) = delete;

  const std::string& name() const { return name_; }

  bool IsStill(const struct stat& status) const {
    return status.st_ino == status_.st_ino && status.st_size == status_.st_size;
  }

  bool Changed() {
    if (length_ == 0 || std::memcmp(seen_.data(), bytes_, length_) == 0) return false;
    std::memcpy(seen_.data(), bytes_, length_);
    return true;
  }

  void CopyTo(const std::string& folder) const {
    const std::string path = folder + "/" + name_;
    std::ofstream file(path, std::ios::binary);
    file.write(seen_.data(), static_cast<std::streamsize>(seen_.size()));
    if (!file.flush()) throw std::runtime_error("cannot write " + path);
    if (chmod(path.c_str(), status_.st_mode) != 0) Fail(path);
  }

 private:
  std::string name_;
  struct stat status_ = {};
  std::size_t length_ = 0;
  void* bytes_ = nullptr;
  std::vector<char> seen_;
};

FolderWatch::FolderWatch(std::string folder) : folder_(std::move(folder)) {}

FolderWatch::~FolderWatch() = default;

// Whether the files are other ones, or of other lengths, than before.
bool FolderWatch::FindFiles() {
  std::vector<fs::path> paths;
  for (const auto& entry : fs::directory_iterator(folder_)) paths.push_back(entry.path());
  std::sort(paths.begin(), paths.end());
  const auto is_still = [](const std::unique_ptr<File>& file, const fs::path& path) {
    struct stat status = {};
    return file->name() == path.filename() && lstat(path.c_str(), &status) == 0 &&
           file->IsStill(status);
  };
  if (std::equal(files_.begin(), files_.end(), paths.begin(), paths.end(), is_still)) return false;
  files_.clear();
  for (const fs::path& path : paths) files_.push_back(std::make_unique<File>(path));
  return true;
}

bool FolderWatch::Changed(bool after_system_call) {
  bool changed = first_ || after_system_call ? FindFiles() : false;
  changed = changed || first_;
  first_ = false;
  for (const auto& file : files_) changed = file->Changed() || changed;
  return changed;
}

void FolderWatch::CopyTo(const std::string& folder) const {
  fs::remove_all(folder);
  fs::create_directory(folder);
  for (const auto& file : files_) file->CopyTo(folder);
}

}  // namespace packetdb::faults
