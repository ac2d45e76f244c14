// The sources of a configuration, opened.
#pragma once

#include <memory>
#include <vector>

#include "host/config/configuration.h"
#include "host/daemon/service_manager.h"
#include "host/sources/live_source.h"
#include "host/status/status_page.h"

namespace packetdb::host {

// Sources that a reload leaves as they are are the same objects in what was opened before and after
// it: their sockets stay open, and packets wait in them.
class LiveSources {
 public:
  // Opens everything that the configuration names: log groups are taken from the service manager
  // where it kept them. Needs the capabilities for that. Throws std::runtime_error, with nothing
  // left open.
  static LiveSources Open(const Configuration& configuration, ServiceManager& manager);

  // The same for a configuration that takes the place of another whose sources these are. Captures
  // are opened anew, because their place in the kernel's ring is known to their reader only.
  LiveSources Reopen(const Configuration& before, const Configuration& after) const;
  // Gives log groups the settings back that a Reopen whose outcome is not used has changed.
  void Restore(const Configuration& configuration);
  // Opens captures anew, whose reader has come to its end.
  void ReopenCaptures(const Configuration& configuration);

  // Tells each log group which record its reader expects, as the one before has left it in the
  // page.
  void ContinueFrom(const StatusPage& page);

  // Gives the service manager the sockets of log groups to keep, and has it forget those of
  // `before` that are not among them.
  void Store(ServiceManager& manager, const LiveSources* before) const;

  std::vector<LiveSource*> all() const;
  bool empty() const { return groups_.empty() && captures_.empty(); }

 private:
  struct Group {
    std::uint16_t number = 0;
    std::shared_ptr<LiveSource> source;
  };

  const Group* Find(std::uint16_t number) const;

  std::vector<Group> groups_;
  std::vector<std::shared_ptr<LiveSource>> captures_;
};

}  // namespace packetdb::host
