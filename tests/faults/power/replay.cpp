#include "tests/faults/power/replay.h"

#include <algorithm>
#include <cstring>
#include <fcntl.h>
#include <stdexcept>
#include <sys/mman.h>
#include <unistd.h>
#include <utility>

namespace packetdb::faults {
namespace {

constexpr std::uint64_t kSectorSize = 512;
constexpr std::uint64_t kBlockSize = 4096;  // of the image, copied as a whole

void WriteAt(const host::Descriptor& file, std::uint64_t offset, std::span<const char> bytes) {
  const ssize_t written =
      pwrite(file.get(), bytes.data(), bytes.size(), static_cast<off_t>(offset));
  if (written != static_cast<ssize_t>(bytes.size())) {
    throw std::runtime_error("no memory for an image of the disk");
  }
}

// The superblock of ext4 has a checksum and two sectors: if only one of them got there, there would
// be no file system any more, which says nothing about what is on it.
bool IsSuperblock(const DiskEvent& event) { return event.offset < kBlockSize; }

void WriteSomeSectors(const DiskEvent& event, const host::Descriptor& file, test::Random& random) {
  if (IsSuperblock(event)) {
    if (random.OneIn(2)) WriteAt(file, event.offset, event.bytes);
    return;
  }
  for (std::uint64_t done = 0; done < event.bytes.size(); done += kSectorSize) {
    const std::uint64_t length = std::min(kSectorSize, event.bytes.size() - done);
    if (random.OneIn(2)) WriteAt(file, event.offset + done, event.bytes.subspan(done, length));
  }
}

}  // namespace

Replay::Replay(const std::string& image, std::vector<DiskEvent> events)
    : flushed_(image),
      events_(std::move(events)),
      has_data_((flushed_.bytes().size() + kBlockSize - 1) / kBlockSize) {
  NoteData(image);
}

// A tool that makes file systems leaves most of the file a hole.
void Replay::NoteData(const std::string& image) {
  const host::Descriptor file(open(image.c_str(), O_RDONLY | O_CLOEXEC));
  off_t data = lseek(file.get(), 0, SEEK_DATA);
  while (data >= 0) {
    const off_t hole = lseek(file.get(), data, SEEK_HOLE);
    for (auto i = static_cast<std::uint64_t>(data) / kBlockSize;
         i * kBlockSize < static_cast<std::uint64_t>(hole); ++i) {
      has_data_[i] = true;
    }
    data = lseek(file.get(), hole, SEEK_DATA);
  }
}

void Replay::Apply(const DiskEvent& event) {
  std::copy(event.bytes.begin(), event.bytes.end(),
            flushed_.bytes().begin() + static_cast<std::ptrdiff_t>(event.offset));
  const std::uint64_t end = event.offset + event.bytes.size();
  for (std::uint64_t i = event.offset / kBlockSize; i * kBlockSize < end; ++i) has_data_[i] = true;
}

void Replay::CopyTo(const host::Descriptor& file) {
  if (ftruncate(file.get(), static_cast<off_t>(flushed_.bytes().size())) != 0) {
    throw std::runtime_error("no memory for an image of the disk");
  }
  std::uint64_t begin = 0;
  while (begin < has_data_.size()) {
    std::uint64_t end = begin;
    while (end < has_data_.size() && has_data_[end]) ++end;
    const std::uint64_t first = begin * kBlockSize;
    const std::uint64_t last = std::min<std::uint64_t>(end * kBlockSize, flushed_.bytes().size());
    if (end > begin) WriteAt(file, first, flushed_.bytes().subspan(first, last - first));
    begin = end + 1;
  }
}

host::Descriptor Replay::ImageAfter(std::uint64_t cut, test::Random& random) {
  std::uint64_t flushed = cut;
  while (flushed > applied_ && !events_[flushed - 1].is_flush) --flushed;
  for (; applied_ < flushed; ++applied_) Apply(events_[applied_]);
  host::Descriptor file(memfd_create("disk after a power cut", MFD_CLOEXEC));
  CopyTo(file);
  for (std::uint64_t i = applied_; i < cut; ++i) WriteSomeSectors(events_[i], file, random);
  return file;
}

}  // namespace packetdb::faults
