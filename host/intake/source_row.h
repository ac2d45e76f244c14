// What the status page says of a source.
#pragma once

#include <cstdint>
#include <string>

#include "host/intake/limited_log.h"
#include "host/sources/live_source.h"
#include "host/status/status_page.h"

namespace packetdb::host {

// A source counts from when it was opened; its row counts from the start of the daemon, over all
// sources that had its name.
class SourceRow {
 public:
  // The row of that name, or a new one, or none when the page is full. The page outlives this.
  SourceRow(StatusPage& page, const std::string& name);

  const std::string& name() const { return name_; }
  SourceStatus& status() { return row_ != nullptr ? *row_ : rowless_; }

  // Adds what the source has counted since the last time. Losses are told in the log as well, once
  // a minute.
  void Publish(const LiveSource& source);

 private:
  void PublishPackets(const CaptureCounters& now);
  void PublishLosses(const LiveCounters& now);
  void TellOfLosses(std::uint64_t overrun, std::uint64_t before_read);

  std::string name_;
  SourceStatus* row_ = nullptr;
  SourceStatus rowless_;
  CaptureCounters packets_;  // published already
  LiveCounters losses_;      // likewise
  LimitedLog overruns_;
  LimitedLog drops_;
};

}  // namespace packetdb::host
