// What the tests of intake share: a source that says what a test wants, and the events of a story.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "host/config/configuration.h"
#include "host/intake/intake.h"
#include "host/sources/live_source.h"
#include "host/status/status_page.h"
#include "tests/host/sources/temp_dir.h"

namespace packetdb::host::test {

// Gives no events itself: tests hand them to the intake, and set what it counts.
class FakeSource : public LiveSource {
 public:
  explicit FakeSource(std::string name = "nflog:5") : name_(std::move(name)) {}

  const std::string& name() const override { return name_; }
  int fd() const override { return -1; }
  bool Receive(EventSink&) override { return false; }
  const CaptureCounters& packets() const override { return packet_counts; }
  LiveCounters counters() const override { return live_counts; }
  void ExpectSequence(std::uint64_t) override {}

  CaptureCounters packet_counts;
  LiveCounters live_counts;

 private:
  std::string name_;
};

// A packet of 40 bytes from 10.0.0.1:1000 to 10.0.0.2:53 over UDP, on eth0, now, in log group 5.
// Tests change what their story is about.
struct Seen {
  LiveEvent event;
  std::string prefix;

  Seen();
  Seen& With(std::string_view new_prefix);
  Seen& On(std::string_view interface);
  Seen& In(std::uint16_t log_group);
  Seen& From(std::uint32_t address);
  Seen& To(std::uint32_t address);
  Seen& At(std::int64_t unix_time);
};

// A day of merging, so that nothing leaves the window while a test runs.
inline constexpr long kDay = 86400;
inline constexpr int kCapacity = 1000;

JournalSettings JournalNamed(std::string_view name);
RuleSettings RuleFor(std::string_view prefix, std::uint32_t code);

// An intake with its page, its directory and one source.
class Intaken {
 public:
  Intaken();

  Configuration& configuration() { return configuration_; }
  StatusPage& page() { return *page_; }
  FakeSource& source() { return source_; }
  std::string Path(std::string_view name = {}) const { return directory_.Path(name); }

  void Start();
  void Stop() { intake_.reset(); }
  void Restart();  // with the page that there is, and a source of the same name that begins anew
  // Starts where that has not been done, and takes the events as one batch of the source.
  void Take(const std::vector<Seen>& events);

  // After Stop: the records of a journal.
  std::vector<PacketDbItemPacked> Records(std::string_view journal = "all") const;
  const JournalStatus& Journal(std::string_view name = "all");
  const SourceStatus& Source(std::string_view name = "nflog:5");

 private:
  const TempDir directory_;
  Configuration configuration_;
  std::unique_ptr<StatusPage> page_ = std::make_unique<StatusPage>();
  FakeSource source_;
  std::unique_ptr<Intake> intake_;
};

}  // namespace packetdb::host::test
