#include "host/record_file/check.h"

#include "host/record_file/inspect.h"
#include "host/record_file/state.h"

namespace packetdb::host {

RecordFileResult CheckRecordFile(const Descriptor& file, const FindingSink& sink) {
  FileFacts facts;
  const RecordFileResult result = InspectDespiteLength(file, &facts);
  if (result < 0) return result;
  if (!facts.has_both_superblocks) {
    sink({0, Severity::kDamage, kFindSuperblock, "one of the two superblocks is damaged"});
  }
  if (facts.state.state == kClosed && !IsSoundlyClosed(facts.state)) {
    sink({kStateOffset, Severity::kDamage, kFindState, "the state page is damaged"});
  }
  return kRecordFileOk;
}

}  // namespace packetdb::host
