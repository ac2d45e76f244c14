// System calls that a process of the daemon can do without are taken from it.
#pragma once

#include <memory>

namespace packetdb::host {

// Each may do what its list in sandbox.cpp says, and gets EPERM for everything else. Nobody may
// execute a program, make, connect or bind a socket, look into another process, or change what
// files and processes may do.
enum class Sandbox {
  kIntake,      // reads descriptors it was given, changes files it has open; opens nothing
  kServer,      // accepts and forks
  kConnection,  // what is left of the server's in a process that serves one connection: it opens
                // files for reading, forks nothing and signals nobody
};

// A filter that was put together, so that taking it costs little where connections are served.
class SandboxFilter {
 public:
  // Throws std::runtime_error when the filter cannot be made.
  explicit SandboxFilter(Sandbox sandbox);
  ~SandboxFilter();
  SandboxFilter(const SandboxFilter&) = delete;
  SandboxFilter& operator=(const SandboxFilter&) = delete;

  // For this process, its threads and its children, for good. Throws std::runtime_error.
  void Enter() const;

 private:
  void* filter_;
};

}  // namespace packetdb::host
