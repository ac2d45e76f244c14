// The records of a file by position: 0 is the oldest that counts, and numbers without a record are
// skipped.
#pragma once

#include <cstdint>
#include <vector>

#include "host/record_file/frame_reader.h"
#include "host/record_file/geometry.h"
#include "host/record_file/medium.h"
#include "host/record_file/numbering.h"
#include "host/record_file/result.h"

namespace packetdb::host {

// How often a read in this process found its record damaged or gone. Whoever asked the library for
// records, and got a failure, can tell from it that asking again would help.
std::uint64_t FailedReads();

class RecordView {
 public:
  // `medium` covers the file and `geometry` describes it; both outlive the view. `holes` are the
  // numbers that are known to have no record.
  RecordView(const Medium& medium, const Geometry& geometry, std::vector<std::uint64_t> holes)
      : medium_(medium), geometry_(geometry), reader_(medium, geometry) {
    numbering_.SetHoles(std::move(holes));
  }

  // Fixes which records the positions mean.
  void SetWindow(const Window& window) { window_ = window; }
  const Window& window() const { return window_; }

  // Never more than an int holds.
  int Count() const { return static_cast<int>(numbering_.Count(window_)); }
  std::uint64_t Holes() const { return numbering_.Holes(window_); }

  // Copies one record. kDamagedRecord, when the file does not have it any more: then `record` gets
  // the bytes of the nearest record before it, so that who searches by the records' times and does
  // not look at results finds them in order; zeros when there is none. kRecordGone and kFileLost
  // give zeros.
  RecordFileResult Read(int position, void* record);

  // Copies up to `count` records from `position` on and returns how many: fewer where the window
  // ends or where a record is damaged or gone. What Read returns when that is so of the first one.
  int ReadMany(int position, void* records, int count);

  // Reading has met damage that the positions do not skip yet.
  bool HasMetDamage() const { return has_met_damage_; }

  // Skips from now on all that is damaged in the window, whether it was met or not, and returns
  // the numbers that are new, ascending. Reads the whole window when any was met.
  std::vector<std::uint64_t> SkipDamage();

  // A record was written where there was none.
  void Heal(std::uint64_t sequence) { numbering_.RemoveHole(sequence); }

 private:
  RecordFileResult ReadSequence(std::uint64_t sequence, std::uint64_t slot, void* record);
  void FillIn(std::uint64_t sequence, void* record) const;
  bool IsPosition(int position) const { return position >= 0 && position < Count(); }

  const Medium& medium_;
  const Geometry& geometry_;
  FrameReader reader_;
  Window window_;
  Numbering numbering_;
  bool has_met_damage_ = false;
};

}  // namespace packetdb::host
