#include "host/record_file/check.h"

#include <algorithm>
#include <string>

#include "host/record_file/check_cells.h"
#include "host/record_file/check_moment.h"
#include "host/record_file/check_state.h"
#include "host/record_file/check_superblock.h"
#include "host/record_file/settings.h"

namespace packetdb::host {
namespace {

void CheckLength(const CheckedMoment& moment, const FindingSink& sink) {
  if (moment.is_length_right) return;
  const std::uint64_t length = moment.facts.length;
  const std::uint64_t right = std::max(moment.facts.superblock.file_length, kCellsOffset);
  sink({std::min(length, right), Severity::kDamage, kFindLength,
        "the file has " + std::to_string(length) + " bytes, not " + std::to_string(right)});
}

// Beyond its end, memory is none.
Way WayTo(const Descriptor& file, const CheckedMoment& moment) {
  const bool is_short = !moment.is_length_right;
  return is_short || GetRecordFileSettings().by_calls ? Way::kByCalls : BestWay(file);
}

RecordFileResult CheckContents(const Descriptor& file, CheckedMoment& moment, Patience& patience,
                               const FindingSink& sink) {
  if (moment.facts.length < kCellsOffset) return kRecordFileOk;
  Medium medium;
  RecordFileResult result =
      medium.Open(file, 0, moment.facts.length, Access::kRead, WayTo(file, moment));
  if (result == kRecordFileOk) result = FindWindow(medium, &moment);
  if (result < 0) return result;
  const Stillness stillness(file, medium, moment);
  const CheckContext context{medium, moment, stillness, patience, sink};
  CheckState(moment, sink);
  result = CheckRedo(context);
  if (result == kRecordFileOk) result = CheckCells(context);
  return medium.IsLost() ? kFileLost : result;
}

}  // namespace

RecordFileResult CheckRecordFile(const Descriptor& file, const FindingSink& sink) {
  Patience patience;
  CheckedMoment moment;
  RecordFileResult result = FixMoment(file, &patience, &moment);
  if (result == kDamagedHeader || result == kAbsurdHeader) return CheckSuperblocks(file, sink);
  if (result == kTruncatedFile) {
    sink({0, Severity::kDamage, kFindLength, "the file ends within its first superblock"});
    return kRecordFileOk;
  }
  if (result == kRecordFileOk) result = CheckSuperblocks(file, sink);
  if (result < 0) return result;
  CheckLength(moment, sink);
  return CheckContents(file, moment, patience, sink);
}

}  // namespace packetdb::host
