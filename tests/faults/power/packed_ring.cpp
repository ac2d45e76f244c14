#include <algorithm>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <stdexcept>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include "host/record_file/descriptor.h"
#include "tests/faults/power/subject.h"

namespace packetdb::faults {
namespace {

// As large as a frame with a checksum would be; the record proves itself.
constexpr std::uint64_t kFrameSize = kRecordSize + 8;
constexpr std::uint64_t kHeaderSize = 4096;
constexpr std::uint64_t kSlack = 4096;

std::runtime_error Failure(const char* what) {
  return std::runtime_error(std::string("the packed ring cannot be ") + what);
}

// The file is mapped from its beginning and begins with its capacity.
class Mapping {
 public:
  Mapping() = default;
  Mapping(int fd, std::size_t length)
      : base_(static_cast<char*>(mmap(nullptr, length, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0))),
        length_(length) {
    if (base_ == MAP_FAILED) throw Failure("mapped");
  }
  Mapping(const Mapping&) = delete;
  Mapping& operator=(Mapping&& other) noexcept {
    std::swap(base_, other.base_);
    std::swap(length_, other.length_);
    return *this;
  }
  ~Mapping() {
    if (base_ != nullptr) munmap(base_, length_);
  }

  std::uint64_t& capacity() { return *reinterpret_cast<std::uint64_t*>(base_); }
  std::uint64_t slots() const { return (length_ - kHeaderSize) / kFrameSize; }
  char* Slot(std::uint64_t ordinal) { return base_ + kHeaderSize + ordinal % slots() * kFrameSize; }

 private:
  char* base_ = nullptr;
  std::size_t length_ = 0;
};

class PackedRing : public Subject {
 public:
  // Its capacity is that of its creation for ever.
  void Open(const std::string& path, std::uint64_t capacity) override {
    const bool is_new = !std::filesystem::exists(path);
    if (is_new) Create(path, capacity);
    next_ = is_new ? 0 : NextOf(Recover(path));
    OpenMapping(path);
  }

  int Append(const Record& record) override {
    std::memcpy(mapping_.Slot(next_), record.data(), kRecordSize);
    return static_cast<int>(next_++);
  }

  void Overwrite(int ticket, const Record& record) override {
    std::memcpy(mapping_.Slot(static_cast<std::uint64_t>(ticket)), record.data(), kRecordSize);
  }

  void Nudge() override { sync_file_range(file_.get(), 0, 0, SYNC_FILE_RANGE_WRITE); }

  void Flush() override {
    if (fdatasync(file_.get()) != 0) throw Failure("flushed");
  }

  void Close() override {
    Flush();
    mapping_ = Mapping();
    file_ = {};
  }

  Found Read(const std::string& path) override { return Recover(path); }

  Found Recover(const std::string& path) override {
    if (!OpenMapping(path)) return {.result = -1, .records = {}};
    const Found found = Contents();
    mapping_ = Mapping();
    file_ = {};
    return found;
  }

  Found Contents() override {
    Found found;
    for (std::uint64_t slot = 0; slot < mapping_.slots(); ++slot) {
      const std::optional<Label> label = ParseRecord(mapping_.Slot(slot));
      if (label && label->version != 0) found.records.push_back(*label);
    }
    KeepTheNewest(mapping_.capacity(), &found.records);
    return found;
  }

 private:
  static void Create(const std::string& path, std::uint64_t capacity) {
    const host::Descriptor file(open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
    const auto length = static_cast<off_t>(kHeaderSize + (capacity + kSlack) * kFrameSize);
    if (posix_fallocate(file.get(), 0, length) != 0) throw Failure("made");
    Mapping(file.get(), static_cast<std::size_t>(length)).capacity() = capacity;
    const std::string folder = std::filesystem::path(path).parent_path();
    const host::Descriptor directory(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (fsync(file.get()) != 0 || fsync(directory.get()) != 0) throw Failure("flushed");
  }

  bool OpenMapping(const std::string& path) {
    file_ = host::Descriptor(open(path.c_str(), O_RDWR | O_CLOEXEC));
    struct stat status {};
    if (fstat(file_.get(), &status) != 0) return false;
    const auto length = static_cast<std::uint64_t>(status.st_size);
    if (length <= kHeaderSize) return false;
    mapping_ = Mapping(file_.get(), length);
    return true;
  }

  static void KeepTheNewest(std::uint64_t count, std::vector<Label>* labels) {
    std::sort(labels->begin(), labels->end(),
              [](const Label& left, const Label& right) { return left.ordinal < right.ordinal; });
    const std::uint64_t end = labels->empty() ? 0 : labels->back().ordinal + 1;
    const auto is_old = [&](const Label& label) { return label.ordinal + count < end; };
    labels->erase(std::remove_if(labels->begin(), labels->end(), is_old), labels->end());
  }

  static std::uint64_t NextOf(const Found& found) {
    return found.records.empty() ? 0 : found.records.back().ordinal + 1;
  }

  host::Descriptor file_;
  Mapping mapping_;
  std::uint64_t next_ = 0;
};

}  // namespace

std::unique_ptr<Subject> MakePackedRing() { return std::make_unique<PackedRing>(); }

}  // namespace packetdb::faults
