#include "host/cli/rescue_report.h"

#include <fmt/format.h>
#include <string_view>

#include "host/cli/counted.h"
#include "host/cli/json_text.h"
#include "host/cli/text_line.h"
#include "host/log/escape.h"

namespace packetdb::host {

namespace {

std::uint64_t Whole(const Rescued& rescued) {
  return rescued.slots - rescued.empty - rescued.damaged;
}

std::string CapacityText(const Rescued& rescued) {
  if (rescued.format.capacity == 0) {
    return "no bound";
  }
  return Counted(rescued.format.capacity, "record") +
         (rescued.is_capacity_known ? ""
                                    : ", as many as it has slots: how many it kept is not known");
}

}  // namespace

void PrintRescueText(const RescueReport& report, std::FILE* out) {
  const Rescued& rescued = report.rescued;
  PrintLine(out, "file", EscapeForLog(report.from));
  PrintLine(out, "records",
            fmt::format("of {} bytes, with the magic '{}'", rescued.format.record_size,
                        EscapeForLog(rescued.format.magic)));
  PrintLine(out, "seed",
            fmt::format("{:#010x}, {}", rescued.seed,
                        rescued.is_seed_computed ? "computed from the records"
                                                 : "which the records agree with"));
  PrintLine(out, "slots",
            fmt::format("{}: {} whole, {} never written, {} damaged or unreadable", rescued.slots,
                        Whole(rescued), rescued.empty, rescued.damaged));
  if (rescued.older + rescued.repeated != 0) {
    PrintLine(out, "left out",
              fmt::format("{} that newer ones had replaced, {} there twice", rescued.older,
                          rescued.repeated));
  }
  if (rescued.missing != 0) {
    PrintLine(out, "missing",
              fmt::format("{} between numbers {} and {}; those before a gap move up",
                          Counted(rescued.missing, "record"), rescued.first, rescued.last));
  }
  PrintLine(out, "room", CapacityText(rescued));
  PrintLine(out, "written",
            fmt::format("{} to {}; numbers {} to {}", Counted(rescued.written, "record"),
                        EscapeForLog(report.to), rescued.last + 1 - rescued.written, rescued.last));
}

void PrintRescueJson(const RescueReport& report, std::FILE* out) {
  const Rescued& rescued = report.rescued;
  OrderedJson object;
  object["file"] = report.from;
  object["rescued_to"] = report.to;
  object["magic"] = rescued.format.magic;
  object["record_size"] = rescued.format.record_size;
  object["seed"] = rescued.seed;
  object["seed_computed"] = rescued.is_seed_computed;
  object["capacity"] =
      rescued.format.capacity == 0 ? OrderedJson() : OrderedJson(rescued.format.capacity);
  object["capacity_known"] = rescued.is_capacity_known;
  object["slots"] = rescued.slots;
  object["slots_whole"] = Whole(rescued);
  object["slots_empty"] = rescued.empty;
  object["slots_damaged"] = rescued.damaged;
  object["records_older"] = rescued.older;
  object["records_repeated"] = rescued.repeated;
  object["records_missing"] = rescued.missing;
  object["records_written"] = rescued.written;
  object["first_record"] = rescued.last + 1 - rescued.written;
  object["last_record"] = rescued.last;
  std::fputs(JsonLine(object).c_str(), out);
}

}  // namespace packetdb::host
