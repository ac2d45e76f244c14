#include "host/journals/conversion_settle.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include "host/journals/converted.h"
#include "host/journals/error.h"
#include "host/journals/files.h"
#include "host/journals/last_seen.h"
#include "host/log/log.h"
#include "host/record_file/open.h"
#include "host/record_file/result.h"

namespace packetdb::host {

namespace {

// Never over something: false when something is there, or nothing was to be moved.
bool MoveToFree(const std::string& from, const std::string& to) {
  if (renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) {
    return true;
  }
  if (errno == EEXIST || errno == ENOENT) {
    return false;
  }
  throw JournalError(fmt::format("cannot rename {} to {}: {}", from, to, std::strerror(errno)),
                     ResultFromErrno(errno));
}

void PutBack(const ConversionFiles& files, const HeldFile& old) {
  if (!MoveToFree(files.old, files.journal) &&
      std::rename(files.old.c_str(), files.journal.c_str()) != 0) {
    throw JournalError(
        fmt::format("cannot put {} back as {}: {}", files.old, files.journal, std::strerror(errno)),
        ResultFromErrno(errno));
  }
  SyncDirectoryOf(files.journal);
  RemoveLeftover(files.temporary, old.owner());
  WriteLog(kNoticeLevel,
           fmt::format("journal {}: its conversion did not come to an end; the old file "
                       "is back",
                       files.journal));
}

// Everything that must be on disk is there before the second name goes, and that it is gone is on
// disk before anything is appended, which would make the two files look unrelated.
void Complete(const ConversionFiles& files, const HeldFile& old, bool keep_old) {
  if (keep_old) {
    KeepOld(files, old, files.old);
  }
  if (old.format() == JournalFormat::k3) {
    FillLastSeen(files.journal);
  }
  if (!old.LendAccessTo(files.journal)) {
    WriteLog(kNoticeLevel,
             fmt::format("journal {}: its owner, group or mode is not that of the file "
                         "before the conversion",
                         files.journal));
  }
  SyncFile(files.journal);
  SyncDirectoryOf(files.journal);
  if (unlink(files.old.c_str()) != 0) {
    throw JournalError(fmt::format("cannot remove {}, the old file of converted journal {}: {}",
                                   files.old, files.journal, std::strerror(errno)),
                       ResultFromErrno(errno));
  }
  SyncDirectoryOf(files.journal);
}

[[noreturn]] void RefuseStranger(const ConversionFiles& files, std::string_view what) {
  throw JournalError(
      fmt::format("{0} holds the old file of a conversion of {1}, but {1} {2}; move one of the two "
                  "away",
                  files.old, files.journal, what));
}

// What is at the journal's name, which is not the old file. Nothing when nothing is there.
std::optional<Copied> Successor(const ConversionFiles& files) {
  RecordFileInfo info;
  const int status = ProbeRecordFile(files.journal, &info);
  if (status == kMissing) {
    return {};
  }
  if (status < 0) {
    RefuseStranger(files, fmt::format("cannot be used: {}", DescribeRecordFileResult(status)));
  }
  if (FormatOf(info) != JournalFormat::k4) {
    RefuseStranger(files, "is another file, and no journal of format 4");
  }
  return CompareConverted(files.old, files.journal);
}

}  // namespace

Settled Judge(const ConversionFiles& files, const HeldFile& old) {
  if (!IsOldFormat(old.format())) {
    throw JournalError(
        fmt::format("{} is in the way: a conversion would keep the old file there, but it is no "
                    "journal of an earlier format; move it away",
                    files.old));
  }
  if (old.IsAt(files.journal)) {
    return Settled::kUntouched;
  }
  const std::optional<Copied> successor = Successor(files);
  if (successor == Copied::kOther) {
    RefuseStranger(files, "holds other records");
  }
  return successor == Copied::kAll ? Settled::kConverted : Settled::kPutBack;
}

Settled Settle(const ConversionFiles& files, const HeldFile& old, bool keep_old,
               std::optional<Conversion>* conversion) {
  const Settled settled = Judge(files, old);
  if (settled == Settled::kPutBack) {
    PutBack(files, old);
  }
  if (settled == Settled::kConverted) {
    Complete(files, old, keep_old);
    *conversion = {old.format(), old.info().records, old.IsAt(files.kept) ? files.kept : ""};
  }
  return settled;
}

void Abandon(const ConversionFiles& files, const HeldFile& old, bool was_kept) {
  if (!old.IsAt(files.journal)) {
    return;  // its last name must stay, whichever that is
  }
  if (!was_kept && old.IsAt(files.kept)) {
    unlink(files.kept.c_str());
  }
  if (old.IsAt(files.old)) {
    unlink(files.old.c_str());
  }
  RemoveLeftover(files.temporary, old.owner());
}

void KeepOld(const ConversionFiles& files, const HeldFile& old, const std::string& from) {
  if (old.IsAt(files.kept) || link(from.c_str(), files.kept.c_str()) == 0) {
    return;
  }
  const RecordFileResult result = ResultFromErrno(errno);
  const char* const reason =
      errno == EEXIST ? "something of that name is there" : std::strerror(errno);
  throw JournalError(fmt::format("cannot keep the old file of journal {} as {}: {}", files.journal,
                                 files.kept, reason),
                     result);
}

Temporary JudgeTemporary(const ConversionFiles& files, RecordFileInfo* info) {
  Descriptor file;
  const RecordFileResult opened = OpenLocked(files.temporary, Access::kWrite, &file);
  if (opened == kMissing) {
    return Temporary::kNone;
  }
  // A conversion has no such file of its own while neither the journal nor the second name is
  // there, and cannot make one while we hold the lock.
  if (opened == kUnsettled || IsThere(files.old) || IsThere(files.journal)) {
    return Temporary::kUnsettled;
  }
  int status = opened < 0 ? int{opened} : ProbeJournal(files.temporary, info);
  if (status == kRecordFileOk && FormatOf(*info) != JournalFormat::k4) {
    status = kOtherFormat;
  }
  if (status < 0) {
    throw JournalError(
        fmt::format("journal {} is missing, and {}, which a conversion may have left, cannot take "
                    "its place: {}",
                    files.journal, files.temporary, DescribeRecordFileResult(status)),
        status);
  }
  RequireLeftover(files.temporary, geteuid());
  return Temporary::kReady;
}

bool AdoptTemporary(const ConversionFiles& files, std::optional<Conversion>* conversion) {
  RecordFileInfo info;
  const Temporary found = JudgeTemporary(files, &info);
  if (found != Temporary::kReady) {
    return found == Temporary::kUnsettled;
  }
  FillLastSeen(files.temporary);  // what it was converted from is not known
  if (MoveToFree(files.temporary, files.journal)) {
    SyncDirectoryOf(files.journal);
    *conversion = {JournalFormat::k4, info.records, ""};
  }
  return true;
}

}  // namespace packetdb::host
