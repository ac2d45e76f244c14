#include "host/intake/source_row.h"

#include <ctime>
#include <fmt/format.h>

#include "host/log/log.h"
#include "host/status/shared_page.h"

namespace packetdb::host {

namespace {

static_assert(kSkipReasons <= kMostReasons && kRemarks <= kMostReasons);

}  // namespace

SourceRow::SourceRow(StatusPage& page, const std::string& name)
    : name_(name), row_(FindOrAddRow(page.sources, name)) {
  if (row_ == nullptr) {
    WriteLog(
        kFailureLevel,
        fmt::format("{}: the status page has no room for it until the daemon is restarted", name));
  }
}

void SourceRow::Publish(const LiveSource& source) {
  PublishPackets(source.packets());
  PublishLosses(source.counters());
}

void SourceRow::PublishPackets(const CaptureCounters& now) {
  SourceStatus& row = status();
  row.received.Add(now.packets() - packets_.packets());
  for (std::size_t i = 0; i < kSkipReasons; ++i) {
    const auto reason = static_cast<SkipReason>(i);
    row.skipped[i].Add(now.skipped(reason) - packets_.skipped(reason));
  }
  for (std::size_t i = 0; i < kRemarks; ++i) {
    const auto remark = static_cast<Remark>(i);
    row.remarks[i].Add(now.noted(remark) - packets_.noted(remark));
  }
  packets_ = now;
}

void SourceRow::PublishLosses(const LiveCounters& now) {
  TellOfLosses(now.lost_overrun - losses_.lost_overrun,
               now.lost_before_read - losses_.lost_before_read);
  SourceStatus& row = status();
  row.lost_overrun.Add(now.lost_overrun - losses_.lost_overrun);
  row.lost_before_read.Add(now.lost_before_read - losses_.lost_before_read);
  row.overruns.Add(now.overruns - losses_.overruns);
  row.foreign.Add(now.foreign - losses_.foreign);
  row.malformed.Add(now.malformed - losses_.malformed);
  row.batches.Add(now.batches - losses_.batches);
  row.buffer_bytes.Set(now.buffer_bytes);
  if (now.next_sequence != 0) {
    row.last_sequence.Set(now.next_sequence);
  }
  losses_ = now;
}

void SourceRow::TellOfLosses(std::uint64_t overrun, std::uint64_t before_read) {
  const std::int64_t now = std::time(nullptr);
  overruns_.Tell(now, name_, "lost", "the kernel's buffer was full", overrun);
  drops_.Tell(now, name_, "lost", "the interface had no room for them", before_read);
}

}  // namespace packetdb::host
