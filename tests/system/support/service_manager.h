// The test in the place of the service manager: it is told things, and keeps descriptors.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "host/bus/socket_descriptor.h"
#include "tests/system/support/live_daemon.h"
#include "tests/system/support/temporary_directory.h"

namespace packetdb::host::test {

class ServiceManager {
 public:
  ServiceManager();

  // "NOTIFY_SOCKET=...", for the environment of a daemon.
  std::string variable() const;
  // Takes what the daemon says until this is among it; false when it does not come.
  bool Hears(const std::string& text);
  // Takes what it has said by now and forgets it.
  void ForgetSayings();
  // How often it has said this since then.
  std::size_t Heard(const std::string& text);

  // The descriptors that are kept, by name, and what starts a daemon with them.
  const std::map<std::string, SocketDescriptor>& stored() const { return stored_; }
  LiveDaemonOptions OptionsWithStored() const;

 private:
  bool TakeOne(int milliseconds);
  void Store(const std::string& message, SocketDescriptor descriptor);

  TemporaryDirectory place_;
  SocketDescriptor socket_;
  std::vector<std::string> sayings_;
  std::map<std::string, SocketDescriptor> stored_;
};

}  // namespace packetdb::host::test
