// A packetdbd that reads log groups of a network of the test's.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "tests/system/support/live_network.h"
#include "tests/system/support/program.h"
#include "tests/system/support/temporary_directory.h"

namespace packetdb::host::test {

// Where a daemon has its files. They outlive it, so that another can take them over.
class DaemonPlace {
 public:
  DaemonPlace();
  // The configuration is what all these tests need, and this behind it: its last table is
  // [metrics].
  void Configure(const std::string& more) const;
  std::string config() const { return place_.Path("packetdb.toml"); }
  std::string socket() const { return place_.Path("socket"); }
  std::string metrics() const { return place_.Path("metrics"); }
  std::string journals() const { return place_.Path("journals"); }

 private:
  TemporaryDirectory place_;
};

struct LiveDaemonOptions {
  std::vector<std::string> variables;  // of the environment: "NAME=value"
  std::vector<int> descriptors;        // passed as a service manager does, with these names
  std::vector<std::string> descriptor_names;
};

class LiveDaemon {
 public:
  // Returns when it listens; fails the test when it ends instead.
  LiveDaemon(const LiveNetwork& network, const DaemonPlace& place,
             const LiveDaemonOptions& options = {});

  Program& program() { return program_; }
  pid_t Intake() const;
  pid_t Queries() const;
  void SignalIntake(int signal) const;
  void SignalQueries(int signal) const;
  std::string Log() const { return program_.Err(); }
  std::size_t CountInLog(const std::string& text) const;
  // Waits for it; false when it does not come.
  bool LogSays(const std::string& text) const;
  Outcome Stop();

 private:
  Program program_;
};

// What the journal of everything holds, by way of a query.
Sums Journaled(const DaemonPlace& place);

// Waits until the journal holds exactly what the packet filter has counted.
bool EverythingIsJournaled(const LiveNetwork& network, const DaemonPlace& place);

}  // namespace packetdb::host::test
