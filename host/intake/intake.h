// From live events to journals: exclusions, rules, nodes, the journal's clock.
#pragma once

#include <memory>

#include "host/config/configuration.h"
#include "host/sources/live_source.h"
#include "host/status/status_page.h"

namespace packetdb::host {

class Intake final : public EventSink {
 public:
  // Opens the journals for writing, creating what is missing, and the rule dictionary beside them.
  // From then on no file is opened any more. Throws JournalError. The page outlives the intake; its
  // rows of the same names go on counting.
  Intake(const Configuration& configuration, StatusPage& page);
  ~Intake();  // closes the journals, which flushes them
  Intake(const Intake&) = delete;
  Intake& operator=(const Intake&) = delete;

  // Events of this source follow; its row in the page counts them.
  void Begin(const LiveSource& source);
  // Never throws for want of a disk or of room: what cannot be journaled is counted as failed, and
  // told once a minute.
  void Take(const LiveEvent& event) override;
  // Publishes what the source counted itself. To be called before the first batch, so that the page
  // has a row for a source from which nothing comes, and after each.
  void End(const LiveSource& source);

 private:
  struct Parts;
  std::unique_ptr<Parts> parts_;
};

}  // namespace packetdb::host
