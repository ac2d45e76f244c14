#include "host/cli/rescue_command.h"

#include <algorithm>
#include <cstdio>
#include <fmt/format.h>
#include <limits>
#include <optional>
#include <sys/stat.h>

#include "host/cli/examined_file.h"
#include "host/cli/output_format.h"
#include "host/cli/parse_number.h"
#include "host/cli/report.h"
#include "host/cli/rescue_report.h"
#include "host/cli/usage_error.h"
#include "host/record_file/layout.h"
#include "host/record_file/rescue.h"
#include "packetdb/journal_format.h"

namespace packetdb::host {

namespace {

// None for an option that was not given.
template <class T>
std::optional<T> ParseHint(const std::string& text, const char* what, std::uint64_t least,
                           std::uint64_t most) {
  if (text.empty()) {
    return std::nullopt;
  }
  const auto lowest = static_cast<std::int64_t>(least);
  const auto highest = static_cast<std::int64_t>(
      std::min<std::uint64_t>(most, std::numeric_limits<std::int64_t>::max()));
  const auto number = ParseNumber(text, lowest, highest);
  if (!number) {
    throw UsageError(fmt::format("'{}' is not {}: give {} to {}", text, what, lowest, highest));
  }
  return static_cast<T>(*number);
}

RescueRequest RequestOf(const CheckOptions& options) {
  RescueRequest request;
  request.known = {{.magic = kJournalMagic, .record_size = kJournalRecordSize},
                   {.magic = kJournalMagic, .record_size = kFormat41RecordSize},
                   {.magic = kFormat3Magic, .record_size = kFormat3RecordSize}};
  request.record_size =
      ParseHint<std::uint32_t>(options.rescue.record_size, "a record size", 1, kMaxRecordSize);
  request.seed = ParseHint<std::uint32_t>(options.rescue.seed, "a seed", 0,
                                          std::numeric_limits<std::uint32_t>::max());
  request.near =
      ParseHint<std::uint64_t>(options.rescue.near, "the number of a record", 0, kMaxSequence - 1);
  return request;
}

bool IsTaken(const std::string& path) {
  struct stat status = {};
  return lstat(path.c_str(), &status) == 0;
}

ExitCode RescueInto(const CheckOptions& options, const RescueRequest& request, Rescued* rescued) {
  if (IsTaken(options.rescue.to)) {
    Complain(fmt::format("{}: something is there already; give the path of a new file",
                         Shortened(options.rescue.to)));
    return kExitFailed;
  }
  Descriptor file;
  const ExitCode opened = OpenToExamine(options.path, &file);
  if (opened != kExitOk) {
    return opened;
  }
  const RecordFileResult result = Rescue(file, request, options.rescue.to, rescued);
  if (result < 0) {
    return CannotExamine(options.rescue.to, result);
  }
  if (rescued->written == 0) {
    Complain(
        fmt::format("{}: no whole record was found in it; --record-size and --seed help where "
                    "they are known",
                    options.path));
    return kExitFailed;
  }
  return kExitOk;
}

}  // namespace

ExitCode RunRescue(const CheckOptions& options) {
  const OutputFormat output = ParseOutputFormat(options.output);
  const RescueRequest request = RequestOf(options);
  Rescued rescued;
  const ExitCode status = RescueInto(options, request, &rescued);
  if (status != kExitOk) {
    return status;
  }
  const RescueReport report{options.path, options.rescue.to, rescued};
  output == OutputFormat::kJson ? PrintRescueJson(report, stdout) : PrintRescueText(report, stdout);
  return FlushOutput() ? kExitOk : kExitFailed;
}

}  // namespace packetdb::host
