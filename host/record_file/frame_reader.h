// Reading one record out of a file that somebody else may be writing.
//
// No lock is taken, and the writer never waits. Its slot may hold half of an overwrite; then the
// complete frame is in the redo sector, where it was put before and stays until the next overwrite.
#pragma once

#include <cstdint>

#include "host/record_file/frame.h"
#include "host/record_file/geometry.h"
#include "host/record_file/medium.h"
#include "host/record_file/result.h"

namespace packetdb::host {

class FrameReader {
 public:
  // `medium` covers the whole file and outlives the reader; so does `geometry`.
  FrameReader(const Medium& medium, const Geometry& geometry)
      : medium_(medium), geometry_(geometry) {}

  // Copies the frame of the record `sequence` to `frame`. Otherwise kDamagedRecord (the file does
  // not have it, though it should), kRecordGone (a newer record has taken its slot), kFileLost, or
  // a failure of the call that read; then `frame` holds no record.
  RecordFileResult Read(std::uint64_t sequence, FrameBuffer* frame) const {
    return ReadAt(sequence, SlotOf(geometry_, sequence), frame);
  }

  // The same for a caller that walks and knows the slot already.
  RecordFileResult ReadAt(std::uint64_t sequence, std::uint64_t slot, FrameBuffer* frame) const;

  // Whether the slot itself holds the record; the redo sector is left out of account.
  bool SlotHas(std::uint64_t sequence) const;

  // Whether the redo sector holds the record.
  bool RedoHas(std::uint64_t sequence) const;

 private:
  RecordFileResult Search(std::uint64_t sequence, std::uint64_t offset, FrameBuffer* frame) const;
  RecordFileResult Try(std::uint64_t sequence, std::uint64_t offset, FrameBuffer* frame) const;
  bool IsOverwritten(std::uint64_t sequence) const;

  const Medium& medium_;
  const Geometry& geometry_;
};

}  // namespace packetdb::host
