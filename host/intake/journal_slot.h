// A journal that takes events: its file, its clock, its row in the status page.
#pragma once

#include <cstdint>
#include <string>

#include "host/config/configuration.h"
#include "host/intake/limited_log.h"
#include "host/intake/retry_gate.h"
#include "host/intake/route_table.h"
#include "host/journals/group_writer.h"
#include "host/sources/time_keeper.h"
#include "host/status/status_page.h"
#include "packetdb/storage.h"

namespace packetdb::host {

class JournalSlot {
 public:
  // Opens the journal for writing, after creating it when it is missing. Throws JournalError. The
  // page outlives the slot; where it has no row left, the journal goes without.
  JournalSlot(const std::string& directory, const JournalSettings& settings, StatusPage& page);

  // Journals an event of time `now` (Unix seconds, as its source gave it); its own times are moved
  // up where they would go back. True when it is in the journal; else it is counted as failed, and
  // told once a minute.
  bool Take(CDrvErrorItemV4& item, Route& route, std::int64_t now);

 private:
  bool MakeKnown(Route& route, std::int64_t now);
  void Fail(std::int64_t now, std::string_view reason);

  GroupWriter writer_;
  std::string subject_;  // of log lines
  TimeKeeper keeper_;
  JournalStatus rowless_;
  JournalStatus* status_ = &rowless_;
  LimitedLog failures_;
  RetryGate retry_;
  std::string failure_;  // why the last interface could not be put into the catalogue
};

}  // namespace packetdb::host
