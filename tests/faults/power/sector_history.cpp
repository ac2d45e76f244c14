#include "tests/faults/power/sector_history.h"

#include <algorithm>
#include <cstring>
#include <fcntl.h>
#include <stdexcept>
#include <sys/mman.h>

#include "host/record_file/descriptor.h"
#include "tests/faults/power/record.h"

namespace packetdb::faults {
namespace {

// How likely a changed sector got to the disk in full. Not only one half: that leaves no long runs
// of one kind.
std::uint32_t DrawEagerness(test::Random& random) {
  constexpr std::uint32_t kPercents[] = {3, 50, 50, 97};
  return kPercents[random.Below(std::size(kPercents))];
}

// 0 is the content at the flush, `newest` the last. What was written only once between two looks of
// the kernel is more often either than one of the many between.
std::uint32_t DrawVersion(std::uint32_t newest, std::uint32_t eagerness, test::Random& random) {
  constexpr std::uint32_t kAll = 100;
  if (random.Below(kAll) < eagerness) return newest;
  return random.OneIn(2) ? 0 : random.Below(newest);
}

void AddRecordsOf(const char* sector, std::set<std::uint64_t>* ordinals) {
  for (std::size_t i = 0; i + kRecordSize <= kSectorBytes; i += sizeof(std::uint64_t)) {
    if (const std::optional<Label> label = ParseRecord(sector + i))
      ordinals->insert(label->ordinal);
  }
}

}  // namespace

SectorHistory::SectorHistory(const std::string& path) {
  const host::Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
  if (fstat(file.get(), &status_) != 0) throw std::runtime_error("there is no journal");
  const auto size = static_cast<std::size_t>(status_.st_size);
  void* const memory = mmap(nullptr, size, PROT_READ, MAP_SHARED, file.get(), 0);
  if (memory == MAP_FAILED) throw std::runtime_error("the journal cannot be looked at");
  live_ = static_cast<const char*>(memory);
  flushed_.assign(live_, live_ + size);
  seen_ = flushed_;
  newer_.resize(size / kSectorBytes);
}

SectorHistory::~SectorHistory() { munmap(const_cast<char*>(live_), seen_.size()); }

bool SectorHistory::IsOf(int file) const {
  struct stat status {};
  return fstat(file, &status) == 0 && status.st_dev == status_.st_dev &&
         status.st_ino == status_.st_ino;
}

void SectorHistory::Look() {
  for (std::size_t i = 0; i < newer_.size(); ++i) {
    char* const seen = seen_.data() + i * kSectorBytes;
    if (std::memcmp(seen, Now(i), kSectorBytes) == 0) continue;
    std::memcpy(seen, Now(i), kSectorBytes);
    if (newer_[i].empty()) changed_.push_back(i);
    newer_[i].emplace_back(seen, seen + kSectorBytes);
  }
}

void SectorHistory::NoteFlush() {
  flushed_ = seen_;
  for (const std::size_t i : changed_) newer_[i].clear();
  changed_.clear();
}

Image SectorHistory::Draw(test::Random& random) const {
  Image image = flushed_;
  const std::uint32_t eagerness = DrawEagerness(random);
  for (const std::size_t i : changed_) {
    const auto versions = static_cast<std::uint32_t>(newer_[i].size());
    const std::uint32_t version = DrawVersion(versions, eagerness, random);
    if (version == 0) continue;
    const Sector& content = newer_[i][version - 1];
    std::copy(content.begin(), content.end(),
              image.begin() + static_cast<std::ptrdiff_t>(i * kSectorBytes));
  }
  return image;
}

// One that was being written, more often than not.
std::size_t SectorHistory::DrawVictim(test::Random& random) const {
  if (changed_.empty() || random.OneIn(4)) {
    return random.Below(static_cast<std::uint32_t>(newer_.size()));
  }
  return changed_[random.Below(static_cast<std::uint32_t>(changed_.size()))];
}

std::set<std::uint64_t> SectorHistory::HarmOne(Harm harm, test::Random& random,
                                               Image* image) const {
  const std::size_t victim = DrawVictim(random);
  char* const sector = image->data() + victim * kSectorBytes;
  std::set<std::uint64_t> ordinals;
  AddRecordsOf(flushed_.data() + victim * kSectorBytes, &ordinals);
  for (const Sector& content : newer_[victim]) AddRecordsOf(content.data(), &ordinals);
  const std::uint32_t at = random.Below(kSectorBytes);
  if (harm == Harm::kFlipped) {
    sector[at] = static_cast<char>(sector[at] ^ static_cast<char>(1U << random.Below(8)));
  } else if (harm == Harm::kTorn) {
    std::copy_n(Now(victim), at, sector);
  } else {
    std::generate_n(sector, kSectorBytes, [&] { return static_cast<char>(random.Bits()); });
  }
  return ordinals;
}

}  // namespace packetdb::faults
