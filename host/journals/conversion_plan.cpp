#include "host/journals/conversion_plan.h"

#include <fmt/format.h>

#include "host/journals/conversion_settle.h"
#include "host/journals/error.h"
#include "host/record_file/result.h"

namespace packetdb::host {

namespace {

ConversionPlan PlanFrom(const ConversionFiles& files, const HeldFile& old,
                        const ConversionWishes& wishes) {
  ConversionPlan plan;
  plan.format = old.format();
  plan.records = old.info().records;
  plan.interrupted = IsThere(files.old);
  if (plan.interrupted && Judge(files, old) == Settled::kConverted) {
    if (wishes.keep_old) {
      RequireKeepable(files, old);
    }
    return plan;
  }
  plan.bytes_needed = ConvertedSize(old.info());
  RequireNoObstacle(files, old, wishes, false);
  RequireSpace(files.journal, plan.bytes_needed);
  return plan;
}

// What is there when no old file is: today's journal, or one that lacks nothing but its name.
ConversionPlan PlanOfCurrent(const ConversionFiles& files) {
  ConversionPlan plan;
  RecordFileInfo info;
  const int status = ProbeJournal(files.journal, &info);
  plan.interrupted = status == kMissing && JudgeTemporary(files, &info) == Temporary::kReady;
  if (status < 0 && !plan.interrupted) {
    ThrowCannotOpen(files.journal, status);
  }
  plan.format = FormatOf(info);
  plan.records = info.records;
  return plan;
}

}  // namespace

ConversionPlan PlanConversion(const std::string& path, const ConversionWishes& wishes) {
  const ConversionFiles files(path);
  const bool interrupted = IsThere(files.old);
  RecordFileInfo info;
  const bool is_old =
      ProbeJournal(files.journal, &info) == kRecordFileOk && IsOldFormat(FormatOf(info));
  if (!interrupted && !is_old) {
    return PlanOfCurrent(files);
  }
  if (interrupted) {
    RequireFile(files.old);
  }
  const std::optional<HeldFile> old =
      HeldFile::Hold(interrupted ? files.old : files.journal, files.journal);
  if (!old) {
    ThrowCannotOpen(files.journal, kUnsettled);
  }
  return PlanFrom(files, *old, wishes);
}

}  // namespace packetdb::host
