// A network of its own: a loopback interface, a packet filter and nothing else.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "tests/system/support/ask.h"
#include "tests/system/support/program.h"
#include "tests/system/support/temporary_directory.h"

namespace packetdb::host::test {

// What tests log, and where to.
inline constexpr int kLogGroup = 5;
inline constexpr int kLoggedPort = 9999;

class LiveNetwork {
 public:
  // In namespaces that an ordinary user may make; root does without one for users, which would
  // limit the buffers of sockets. Throws std::runtime_error with the reason when the system
  // refuses.
  LiveNetwork();

  // The command line that runs a program in this network.
  Program::Arguments Inside(const Program::Arguments& program) const;
  // Runs it to its end, which has to be good.
  std::string Run(const Program::Arguments& program) const;

  // Loads a ruleset for nft.
  void Filter(const std::string& ruleset) const;
  // Logs UDP to port `port` of this machine to `group` with `prefix`, counts it and drops it.
  void LogUdp(int group, int port, const std::string& prefix) const;
  // What the packet filter has counted in all rules together.
  Sums Counted() const;

  // Sends so many packets to the port, at most so many a second (0: as fast as it can), from ten
  // source ports; returns when all are sent.
  void Send(int port, int count, int per_second = 0) const;
  // The same, and goes on while the object lives.
  std::unique_ptr<Program> StartSending(int port, int count, int per_second) const;

 private:
  TemporaryDirectory place_;
  std::unique_ptr<Program> holder_;  // keeps the namespaces
};

}  // namespace packetdb::host::test
