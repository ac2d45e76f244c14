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

bool IsComplete(const Descriptor& file, const RecordFormat& wanted) {
  FileFacts facts;
  return Inspect(file, &facts) == kRecordFileOk && facts.format.magic == wanted.magic &&
         facts.format.record_size == wanted.record_size && IsSoundlyClosed(facts.state);
}

}  // namespace

RecordFileResult AdoptConverted(const OpenRequest& request, Descriptor* file) {
  const std::string converted = request.path + ".~tmp";
  Descriptor opened;
  const RecordFileResult result = OpenLocked(converted, Access::kWrite, &opened);
  if (result == kInUse || result == kUnsettled) return result;
  if (result < 0 || !IsOurFolder(request.path)) return kMissing;
  if (!IsComplete(opened, request.format)) return kMissing;
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
