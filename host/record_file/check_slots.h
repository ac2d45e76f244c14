// Judging one slot after the other, in the order of the file.
#pragma once

#include <cstddef>
#include <cstdint>

#include "host/record_file/check_moment.h"
#include "host/record_file/frame_reader.h"
#include "host/record_file/result.h"

namespace packetdb::host {

class SlotJudge {
 public:
  explicit SlotJudge(const CheckContext& context)
      : context_(context),
        moment_(context.moment),
        geometry_(context.moment.geometry()),
        reader_(context.medium, geometry_) {}

  // `frame` is a copy of the slot's bytes, and `next` what Stillness::Next returned after it was
  // made. Fails when the file cannot be read.
  RecordFileResult Judge(std::uint64_t slot, const std::byte* frame, std::uint64_t next);

  // All slots were judged: tells what only all of them together show.
  void Finish();

 private:
  RecordFileResult JudgeLive(std::uint64_t sequence, const std::byte* frame);
  RecordFileResult ReadPatiently(std::uint64_t sequence) const;
  void JudgeHalfDone(std::uint64_t sequence);
  void JudgeWithoutRecord(std::uint64_t sequence, const std::byte* frame);
  void JudgeUnused(std::uint64_t slot, std::uint64_t later, const std::byte* frame,
                   std::uint64_t next);
  std::uint64_t NextOwner(std::uint64_t slot) const;
  void AddWrongSlot(std::uint64_t slot);
  void EndWrongSlots();
  void TellOfMissing();
  void Find(std::uint64_t position, Severity severity, std::string_view kind,
            const std::string& text) {
    context_.sink({position, severity, kind, text});
  }

  const CheckContext& context_;
  const CheckedMoment& moment_;
  const Geometry& geometry_;
  const FrameReader reader_;
  std::uint64_t missing_ = 0;  // live records that are nowhere, as a power cut leaves them
  std::uint64_t first_missing_ = 0;
  std::uint64_t pending_ = 0;  // slots that a writer that died was in the middle of
  std::uint64_t first_pending_ = 0;
  std::uint64_t wrong_begin_ = 0;  // slots of the run that goes on, none when they are equal
  std::uint64_t wrong_end_ = 0;
};

}  // namespace packetdb::host
