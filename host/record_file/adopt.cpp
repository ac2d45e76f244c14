#include "host/record_file/adopt.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <string>
#include <syslog.h>

#include "host/record_file/folder.h"
#include "host/record_file/inspect.h"
#include "host/record_file/open.h"
#include "host/record_file/state.h"
#include "host/record_file/trust.h"
#include "platform/log.h"

namespace packetdb::host {
namespace {

// The system, or somebody who is at it, keeps us from telling what is there. To go on as if nothing
// were would hide a journal behind an empty one.
bool CannotTell(RecordFileResult result) {
  return result <= kNoSpace || result == kInUse || result == kUnsettled;
}

RecordFileResult LookAt(const Descriptor& file, const RecordFormat& wanted) {
  FileFacts facts;
  const RecordFileResult result = Inspect(file, &facts);
  if (result < 0) return result;
  const bool is_complete = facts.format.magic == wanted.magic &&
                           facts.format.record_size == wanted.record_size &&
                           IsSoundlyClosed(facts.state);
  return is_complete ? kRecordFileOk : kMissing;
}

}  // namespace

RecordFileResult AdoptConverted(const OpenRequest& request, Descriptor* file) {
  const std::string converted = request.path + ".~tmp";
  Descriptor opened;
  RecordFileResult result = OpenLocked(converted, Access::kWrite, &opened);
  if (result == kRecordFileOk) result = RequireOurFolder(request.path);
  if (result == kRecordFileOk) result = LookAt(opened, request.format);
  if (result < 0) return CannotTell(result) ? result : kMissing;
  if (renameat2(AT_FDCWD, converted.c_str(), AT_FDCWD, request.path.c_str(), RENAME_NOREPLACE) !=
      0) {
    return errno == EEXIST ? kUnsettled : ResultFromErrno(errno);
  }
  const std::string text =
      request.path + ": taken from " + converted + ", where a conversion left it";
  slput(LOG_WARNING, text.c_str());
  *file = std::move(opened);
  return FlushFolderOf(request.path);
}

}  // namespace packetdb::host
