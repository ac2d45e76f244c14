// A directory of journals, and the daemon's commands over it in a thread of the test.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "host/config/configuration.h"
#include "host/journals/group_writer.h"
#include "host/reading/daemon_source.h"
#include "host/status/shared_page.h"
#include "tests/host/sources/temp_dir.h"

namespace packetdb::host::test {

class ServedJournals {
 public:
  ServedJournals();
  ~ServedJournals();  // ends the serving of connections
  ServedJournals(const ServedJournals&) = delete;
  ServedJournals& operator=(const ServedJournals&) = delete;

  // One packet at a time, seconds since 1980, of a source port, into a group's journal.
  void Add(const std::string& group, const std::string& interface, std::uint32_t time,
           std::uint16_t port) const;

  // Makes connections that are served until their other end closes, or Break is called.
  DaemonSource::Connector Connector();
  // Ends all connections, as a restart of the daemon does.
  void Break();

  std::string path(const std::string& name) const { return directory_.Path(name); }
  Configuration& configuration() { return configuration_; }

  unsigned int row_limit = 0;
  bool refuses = false;  // new connections
  int connections = 0;   // made so far

 private:
  struct Served;

  TempDir directory_;
  Configuration configuration_;
  StatusPagePtr page_;
  std::vector<std::unique_ptr<Served>> served_;
};

}  // namespace packetdb::host::test
