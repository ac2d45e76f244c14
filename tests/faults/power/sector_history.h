// The sectors of a file since it was last flushed: every content that each has had.
#pragma once

#include <cstddef>
#include <cstdint>
#include <set>
#include <string>
#include <sys/stat.h>
#include <vector>

#include "tests/support/seed.h"

namespace packetdb::faults {

inline constexpr std::size_t kSectorBytes = 512;

using Image = std::vector<char>;

// What happens to a sector when the disk is worse than it may be.
enum class Harm {
  kGarbage,  // something else altogether
  kTorn,     // written in part
  kFlipped,  // one bit is wrong
};

class SectorHistory {
 public:
  // The file is as on the disk now. Throws std::runtime_error.
  explicit SectorHistory(const std::string& path);
  SectorHistory(const SectorHistory&) = delete;
  SectorHistory& operator=(const SectorHistory&) = delete;
  ~SectorHistory();

  bool IsOf(int file) const;  // whether the descriptor is the file's

  // Notes what has changed since the last look.
  void Look();
  // Everything that was seen is on the disk.
  void NoteFlush();

  // The file after a power cut: of each sector any content since the flush, or that at it.
  Image Draw(test::Random& random) const;

  // Harms one sector of a drawn image. Returns the records that the sector has ever had since the
  // flush, by ordinal: those may be lost.
  std::set<std::uint64_t> HarmOne(Harm harm, test::Random& random, Image* image) const;

 private:
  using Sector = std::vector<char>;

  const char* Now(std::size_t sector) const { return live_ + sector * kSectorBytes; }
  std::size_t DrawVictim(test::Random& random) const;

  const char* live_ = nullptr;  // the file itself
  struct stat status_ {};
  Image flushed_;
  Image seen_;                              // at the last look
  std::vector<std::vector<Sector>> newer_;  // by sector: its contents since the flush, in order
  std::vector<std::size_t> changed_;        // the sectors that have any
};

}  // namespace packetdb::faults
