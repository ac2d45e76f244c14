#include "host/cli/convert_command.h"

#include <cstdio>
#include <fmt/format.h>

#include "host/cli/counted.h"
#include "host/cli/report.h"
#include "host/journals/conversion.h"
#include "host/journals/conversion_files.h"
#include "host/journals/conversion_plan.h"
#include "host/journals/error.h"
#include "host/log/escape.h"
#include "host/record_file/result.h"

namespace packetdb::host {

namespace {

ExitCode ExitCodeOf(const JournalError& error) {
  switch (error.result()) {
    case kInUse:
      return kExitInUse;
    case kNoPermission:
      return kExitNotPermitted;
    default:
      return kExitFailed;
  }
}

ExitCode Answer(const std::string& line) {
  std::fputs((EscapeForLog(line) + "\n").c_str(), stdout);
  return FlushOutput() ? kExitOk : kExitFailed;
}

std::string AlreadyCurrent(const std::string& path, std::uint64_t records) {
  return fmt::format("journal {} is of format 4 already: {}", path, Counted(records, "record"));
}

std::string DescribePlan(const ConversionPlan& plan, const std::string& path) {
  const bool is_old = IsOldFormat(plan.format);
  if (!is_old && !plan.interrupted) {
    return AlreadyCurrent(path, plan.records);
  }
  const std::string what = fmt::format("journal {}{}: format {}, {}", path,
                                       plan.interrupted ? ", whose conversion was interrupted" : "",
                                       FormatName(plan.format), Counted(plan.records, "record"));
  if (!is_old) {
    return fmt::format("{}; it lacks nothing but its name", what);
  }
  return plan.bytes_needed == 0
             ? fmt::format("{}; nothing is left to do but to remove what it left", what)
             : fmt::format("{}; converting it takes {} bytes, and nothing stands in the way", what,
                           plan.bytes_needed);
}

// Converting it for itself would leave the journal that it belongs to without it.
void RefuseFileOfConversion(const std::string& file) {
  for (const std::string_view suffix : {kOldSuffix, kTemporarySuffix}) {
    if (file.ends_with(suffix)) {
      throw JournalError(fmt::format("{} is no journal but a file of one's conversion; give {}",
                                     file, file.substr(0, file.size() - suffix.size())));
    }
  }
}

std::string Convert(const ConvertOptions& options, const ConversionWishes& wishes) {
  RefuseFileOfConversion(options.file);
  if (options.dry_run) {
    return DescribePlan(PlanConversion(options.file, wishes), options.file);
  }
  if (const auto conversion = ConvertIfOld(options.file, wishes)) {
    return Describe(*conversion, options.file);
  }
  return AlreadyCurrent(options.file, PlanConversion(options.file, wishes).records);
}

}  // namespace

ExitCode RunConvert(const ConvertOptions& options) {
  try {
    return Answer(Convert(options, {.keep_old = options.keep_old}));
  } catch (const JournalError& error) {
    Complain(error.what());
    return ExitCodeOf(error);
  }
}

}  // namespace packetdb::host
