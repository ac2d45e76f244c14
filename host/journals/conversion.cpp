#include "host/journals/conversion.h"

#include <cerrno>
#include <cstring>
#include <fmt/format.h>
#include <unistd.h>

#include "host/journals/converted.h"
#include "host/journals/error.h"
#include "host/journals/files.h"
#include "host/journals/library_converter.h"
#include "host/log/log.h"
#include "host/record_file/result.h"

namespace packetdb::host {

namespace {

// How often we look again when other processes change what is there.
constexpr int kAttempts = 16;

enum class Next { kLookAgain, kNothing };

// The file's other names are on disk before the library is let at the first. The one to keep it by
// is among them, so that a crash does not forget that it was wished for.
void LinkOld(const ConversionFiles& files, const HeldFile& old, bool keep_old) {
  if (!old.IsAt(files.old) && link(files.journal.c_str(), files.old.c_str()) != 0) {
    const RecordFileResult result = ResultFromErrno(errno);
    throw JournalError(fmt::format("cannot convert journal {}: it needs a second name {} (a hard "
                                   "link) for that: {}",
                                   files.journal, files.old, std::strerror(errno)),
                       result);
  }
  if (keep_old) {
    KeepOld(files, old, files.journal);
  }
  SyncDirectoryOf(files.journal);
}

[[noreturn]] void Fail(const ConversionFiles& files, const ConverterFailure& failure) {
  throw JournalError(fmt::format("cannot convert journal {}: {}; the old file is there as before",
                                 files.journal, failure.reason),
                     failure.result);
}

std::optional<Conversion> Convert(const ConversionFiles& files, const HeldFile& old,
                                  const ConversionWishes& wishes) {
  RequireNoObstacle(files, old, wishes, true);
  const bool was_kept = old.IsAt(files.kept);
  LinkOld(files, old, wishes.keep_old);
  const ConverterFailure failure = RunLibraryConverter(files, old);
  std::optional<Conversion> conversion;
  // Whatever the library said: it reports some losses as success and some successes as failure.
  if (Settle(files, old, wishes.keep_old, &conversion) != Settled::kConverted) {
    Abandon(files, old, was_kept);
    Fail(files, failure);
  }
  return conversion;
}

// Something has the name that a conversion gives to the old file.
std::optional<Conversion> GoOn(const ConversionFiles& files, const ConversionWishes& wishes) {
  RequireFile(files.old);
  const std::optional<HeldFile> old = HeldFile::Hold(files.old, files.journal);
  if (!old) {
    return {};
  }
  std::optional<Conversion> conversion;
  const Settled settled = Settle(files, *old, wishes.keep_old, &conversion);
  return settled == Settled::kUntouched ? Convert(files, *old, wishes) : conversion;
}

std::optional<Conversion> Begin(const ConversionFiles& files, const ConversionWishes& wishes) {
  const std::optional<HeldFile> old = HeldFile::Hold(files.journal, files.journal);
  // Another process may have converted it since we looked, or begun to and died.
  if (!old || !IsOldFormat(old->format()) || IsThere(files.old)) {
    return {};
  }
  return Convert(files, *old, wishes);
}

Next Advance(const ConversionFiles& files, const ConversionWishes& wishes,
             std::optional<Conversion>* conversion) {
  std::optional<Conversion> done;
  RecordFileInfo info;
  if (IsThere(files.old)) {
    done = GoOn(files, wishes);
  } else {
    const int status = ProbeJournal(files.journal, &info);
    if (IsThere(files.old)) {
      return Next::kLookAgain;  // a conversion began meanwhile, and what we saw may be its doing
    }
    if (status == kMissing) {
      return AdoptTemporary(files, conversion) || IsThere(files.old) ? Next::kLookAgain
                                                                     : Next::kNothing;
    }
    if (status < 0) {
      ThrowCannotOpen(files.journal, status);
    }
    if (!IsOldFormat(FormatOf(info))) {
      return Next::kNothing;
    }
    done = Begin(files, wishes);
  }
  *conversion = done ? done : *conversion;
  return Next::kLookAgain;
}

}  // namespace

std::optional<Conversion> ConvertIfOld(const std::string& path, const ConversionWishes& wishes) {
  const ConversionFiles files(path);
  std::optional<Conversion> conversion;
  for (int i = 0; i < kAttempts; ++i) {
    if (Advance(files, wishes, &conversion) == Next::kNothing) {
      if (conversion) {
        WriteLog(kNoticeLevel, Describe(*conversion, path));
      }
      return conversion;
    }
  }
  ThrowCannotOpen(path, kUnsettled);
}

std::string Describe(const Conversion& conversion, const std::string& path) {
  const std::string records =
      fmt::format("{} record{}", conversion.records, conversion.records == 1 ? "" : "s");
  if (!IsOldFormat(conversion.from)) {
    return fmt::format(
        "journal {} was missing: the converted file that had not got its name yet "
        "is there now, with {}",
        path, records);
  }
  const std::string kept =
      conversion.kept.empty() ? "" : "; the old file is kept as " + conversion.kept;
  return fmt::format("journal {} was of format {}: {} converted to format 4{}", path,
                     FormatName(conversion.from), records, kept);
}

}  // namespace packetdb::host
