// How the record files of this process behave where CDbFile::Init has no argument for it.
#pragma once

#include <chrono>
#include <cstdint>

namespace packetdb::host {

enum class SyncMode {
  kPeriodic,  // from a thread of its own, after an interval or an amount
  kEach,      // before each append or overwrite returns
  kNever,     // when the kernel gets to it; closing still flushes
};

struct SyncPolicy {
  SyncMode mode = SyncMode::kPeriodic;
  std::chrono::milliseconds interval{1000};
  std::uint64_t bytes = std::uint64_t{64} << 20U;  // of frames written, whichever comes first
};

struct RecordFileSettings {
  SyncPolicy sync;
  // Changes files by one call each, also where a mapping would do.
  bool by_calls = false;
  // Looks at every record at opening, so that what is damaged is skipped from the beginning.
  bool verify_at_opening = false;
};

// Holds for the files that are opened from then on. Not to be called while another thread opens
// one.
void SetRecordFileSettings(const RecordFileSettings& settings);
const RecordFileSettings& GetRecordFileSettings();

// While it lives, files are looked through when they are opened.
class ThoroughOpening {
 public:
  ThoroughOpening();
  ThoroughOpening(const ThoroughOpening&) = delete;
  ThoroughOpening& operator=(const ThoroughOpening&) = delete;
  ~ThoroughOpening();

 private:
  RecordFileSettings before_;
};

}  // namespace packetdb::host
