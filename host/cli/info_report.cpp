#include "host/cli/info_report.h"

#include <fmt/format.h>
#include <string_view>

#include "host/cli/counted.h"
#include "host/cli/info_state.h"
#include "host/cli/json_text.h"
#include "host/cli/text_line.h"
#include "host/journals/file_life.h"
#include "host/log/escape.h"
#include "host/times/time_text.h"
#include "packetdb/storage.h"

namespace packetdb::host {

namespace {

std::uint64_t Records(const InfoReport& info) { return info.window.size(); }

bool HasBound(const InfoReport& info) { return info.facts.format.capacity != 0; }

bool IsFull(const InfoReport& info) {
  return HasBound(info) && Records(info) == info.facts.format.capacity;
}

double FillPercent(const InfoReport& info) {
  return 100.0 * static_cast<double>(Records(info)) /
         static_cast<double>(info.facts.format.capacity);
}

double PacketsPerRecord(const JournalSummary& summary) {
  return static_cast<double>(summary.packets) / static_cast<double>(summary.read);
}

std::uint64_t CoveredSeconds(const JournalSummary& summary) {
  return summary.newest < summary.oldest ? 0 : summary.newest - summary.oldest;
}

// In how many seconds `records` more will have come at the recent rate.
std::uint64_t SecondsUntil(std::uint64_t records, const RecentRate& rate) {
  return static_cast<std::uint64_t>(static_cast<double>(records) / rate.PerSecond());
}

std::string RecordsText(const InfoReport& info) {
  const std::uint64_t records = Records(info);
  std::string text = HasBound(info) ? fmt::format("{} of {}, {:.1f} % full", records,
                                                  info.facts.format.capacity, FillPercent(info))
                                    : fmt::format("{}, no bound", records);
  if (records != 0) {
    text += fmt::format("; numbers {} to {}", info.window.begin, info.window.end - 1);
  }
  return text;
}

// In the unit that leaves digits to see.
std::string RateNumber(double per_second) {
  constexpr double kHour = 3600;
  constexpr double kDay = 24 * kHour;
  constexpr double kLeastPerSecond = 0.01;
  if (per_second >= kLeastPerSecond) {
    return fmt::format("{:.3f} records a second", per_second);
  }
  return per_second * kHour >= 1 ? fmt::format("{:.3f} records an hour", per_second * kHour)
                                 : fmt::format("{:.3f} records a day", per_second * kDay);
}

std::string RateText(const JournalSummary& summary) {
  if (!summary.recent) {
    return "not known: no time passed between the records";
  }
  return fmt::format("{}: {} in the newest tenth of the time, {} s",
                     RateNumber(summary.recent->PerSecond()), summary.recent->records,
                     summary.recent->seconds);
}

std::string RoomText(const InfoReport& info) {
  if (!HasBound(info)) {
    return "no bound: nothing is ever overwritten, the file grows";
  }
  const auto& recent = info.summary.recent;
  if (IsFull(info)) {
    const std::string text = "none: every new record overwrites the oldest";
    return recent ? fmt::format("{}; one is kept for {} at the recent rate", text,
                                DurationText(SecondsUntil(info.facts.format.capacity, *recent)))
                  : text;
  }
  const std::uint64_t room = info.facts.format.capacity - Records(info);
  return recent ? fmt::format("{}, {} at the recent rate before the oldest is overwritten",
                              Counted(room, "record"), DurationText(SecondsUntil(room, *recent)))
                : Counted(room, "record");
}

std::int64_t CreatedUnix(const InfoReport& info) {
  constexpr std::uint64_t kSecond = 1'000'000'000;
  return static_cast<std::int64_t>(info.facts.superblock.created_ns / kSecond);
}

void PrintState(const InfoReport& info, std::FILE* out) {
  const StatePage& state = info.facts.state;
  PrintLine(out, "state", std::string(LifeText(LifeOf(state, info.writer))));
  PrintLine(out, "flushed", FlushedText(state, info.window.end));
  if (const std::string losses = LossesText(state); !losses.empty()) {
    PrintLine(out, "losses", losses);
  }
  if (info.summary.gone != 0) {
    PrintLine(out, "not counted",
              Counted(info.summary.gone, "record") + " that newer ones replaced meanwhile");
  }
  if (const std::uint64_t missing = info.summary.damaged + info.summary.lost; missing != 0) {
    PrintLine(out, "not there",
              fmt::format("{}: {} damaged, {} lost in a power cut", Counted(missing, "record"),
                          info.summary.damaged, info.summary.lost));
  }
}

void AddState(OrderedJson& object, const InfoReport& info) {
  const StatePage& state = info.facts.state;
  object["created"] = Rfc3339Time(CreatedUnix(info));
  object["created_unix"] = CreatedUnix(info);
  object["state"] = LifeWord(LifeOf(state, info.writer));
  object["flushed_to"] = state.synced;
  object["overwrites"] = state.merges;
  object["overwrites_flushed"] = state.merges_synced;
  object["dropped"] = Overwritten(info.facts, info.window.end, Records(info));
  object["damaged_ever"] = state.damaged;
  object["lost_ever"] = state.lost_unsynced;
  object["searches"] = state.generation;
  object["records_gone"] = info.summary.gone;
  object["records_damaged"] = info.summary.damaged;
  object["records_lost"] = info.summary.lost;
}

void PrintContents(const InfoReport& info, std::FILE* out) {
  const JournalSummary& summary = info.summary;
  PrintLine(out, "oldest", RecordTime(summary.oldest) + ", first seen");
  PrintLine(out, "newest",
            RecordTime(summary.newest) +
                (info.format == JournalFormat::k3 ? ", first seen" : ", last seen"));
  PrintLine(out, "time covered", DurationText(CoveredSeconds(summary)));
  PrintLine(out, "packets",
            fmt::format("{}, {:.1f} in a record", summary.packets, PacketsPerRecord(summary)));
  PrintLine(out, "recent rate", RateText(summary));
}

void AddContents(OrderedJson& object, const JournalSummary& summary) {
  object["packets"] = summary.packets;
  if (summary.read == 0) {
    return;
  }
  AddJournalTime(object, "oldest", summary.oldest);
  AddJournalTime(object, "newest", summary.newest);
  object["covered_seconds"] = CoveredSeconds(summary);
  object["packets_per_record"] = PacketsPerRecord(summary);
  if (summary.recent) {
    object["recent_records"] = summary.recent->records;
    object["recent_seconds"] = summary.recent->seconds;
    object["recent_rate"] = summary.recent->PerSecond();
  }
}

void AddBound(OrderedJson& object, const InfoReport& info) {
  const std::uint64_t capacity = info.facts.format.capacity;
  object["capacity"] = HasBound(info) ? OrderedJson(capacity) : OrderedJson();
  if (!HasBound(info)) {
    return;
  }
  object["fill_percent"] = FillPercent(info);
  object["overwriting"] = IsFull(info);
  if (const auto& recent = info.summary.recent) {
    const std::uint64_t room = capacity - Records(info);
    object["seconds_to_overwriting"] = SecondsUntil(room, *recent);
    object["seconds_kept"] = SecondsUntil(capacity, *recent);
  }
}

}  // namespace

void PrintInfoText(const InfoReport& info, std::FILE* out) {
  PrintLine(out, "file", EscapeForLog(info.path));
  PrintLine(out, "format",
            fmt::format("{}, records of {} bytes", FormatName(info.format),
                        info.facts.format.record_size));
  PrintLine(out, "layout",
            fmt::format("{}, made {}", info.facts.layout_version, LocalTime(CreatedUnix(info))));
  PrintLine(out, "size", fmt::format("{} bytes", info.facts.length));
  PrintLine(out, "records", RecordsText(info));
  if (info.summary.read != 0) {
    PrintContents(info, out);
  }
  PrintLine(out, "room", RoomText(info));
  PrintLine(out, "writer", info.writer ? "has it open" : "none has it open");
  PrintState(info, out);
}

void PrintInfoJson(const InfoReport& info, std::FILE* out) {
  const std::uint64_t records = Records(info);
  OrderedJson object;
  object["file"] = info.path;
  object["format"] = FormatName(info.format);
  object["layout_version"] = info.facts.layout_version;
  object["record_size"] = info.facts.format.record_size;
  object["file_bytes"] = info.facts.length;
  object["writer"] = info.writer;
  object["records"] = records;
  object["next_record"] = info.window.end;
  object["records_read"] = info.summary.read;
  AddState(object, info);
  AddBound(object, info);
  AddContents(object, info.summary);
  std::fputs(JsonLine(object).c_str(), out);
}

}  // namespace packetdb::host
