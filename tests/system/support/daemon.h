// A running packetdbd.
#pragma once

#include <string>

#include "tests/system/support/program.h"
#include "tests/system/support/temporary_directory.h"

namespace packetdb::host::test {

class Daemon {
 public:
  // Serves the journals of `directory` on a socket of its own, takes nothing in, and returns when
  // it listens. Fails the test when it ends instead. `options` must not make it silent.
  explicit Daemon(const std::string& directory, const Program::Arguments& options = {});
  // The same with a configuration of its own.
  Daemon(const std::string& directory, const Program::Arguments& options,
         const std::string& config);

  const std::string& socket() const { return socket_; }
  Program& program() { return program_; }

  std::string Log() const { return program_.Err(); }
  // How often the text is in the log so far.
  std::size_t CountInLog(const std::string& text) const;
  // Waits for it; false when it does not come.
  bool LogSays(const std::string& text) const;

  // The processes that serve connections: children of the query process.
  std::vector<pid_t> Children() const;
  // Waits until nobody is served: a client's end reaches the daemon a moment after the client.
  bool BecomesIdle() const;

  // Stops it and waits for its end.
  Outcome Stop(int signal);

 private:
  TemporaryDirectory place_;
  std::string socket_;
  Program program_;
};

// The child of that process that is shown under this name; 0 when there is none.
pid_t ChildNamed(pid_t parent, const std::string& name);
// Sends it a signal. Throws std::runtime_error when there is none: number 0 means all of our own.
void SignalChildNamed(pid_t parent, const std::string& name, int signal);

// A configuration by which one user may connect as often as all together: tests are one user.
std::string ServingConfiguration();

// The arguments behind `packetdbd` that serve `directory` at `socket` and nothing else, with what
// this build needs.
Program::Arguments ServingArguments(const std::string& directory, const std::string& socket,
                                    const Program::Arguments& options = {},
                                    const std::string& config = ServingConfiguration());

}  // namespace packetdb::host::test
