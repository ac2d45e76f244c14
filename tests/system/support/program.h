// A running program, with what it prints.
#pragma once

#include <string>
#include <sys/types.h>
#include <vector>

#include "host/bus/socket_descriptor.h"

namespace packetdb::host::test {

struct ProgramOptions {
  int input = -1;   // its standard input; -1: /dev/null
  int output = -1;  // its standard output; -1: kept for Out()
  // Root passes every permission check; with this it has to obey the modes of files like anybody.
  bool obeys_modes = false;
  // Descriptors that it gets as 3, 4 ...
  std::vector<int> descriptors;
};

// How a program ended and what it printed.
struct Outcome {
  int status = -1;  // exit status; -1 when a signal ended it
  int signal = 0;   // the signal that ended it
  std::string out;
  std::string err;
};

class Program {
 public:
  using Arguments = std::vector<std::string>;

  // Starts the program at the path that comes first in `arguments`, in a process group of its own.
  // Throws std::system_error.
  explicit Program(const Arguments& arguments, const ProgramOptions& options = {});
  // Kills what is left of its process group.
  ~Program();
  Program(const Program&) = delete;
  Program& operator=(const Program&) = delete;

  pid_t pid() const { return pid_; }
  void Signal(int signal) const;
  // To all of its process group.
  void SignalAll(int signal) const;
  bool HasEnded();
  // Waits for its end; one that does not come in kPatience fails the test.
  Outcome Wait();

  // What it has printed so far.
  std::string Out() const;
  std::string Err() const;

 private:
  void Reap(int options);

  SocketDescriptor out_;
  SocketDescriptor err_;
  pid_t pid_;
  bool ended_ = false;
  int wait_status_ = 0;
};

// The processes whose parent is `parent`, those that ended and were not waited for included.
std::vector<pid_t> ChildrenOf(pid_t parent);

// `packetdb` with these arguments.
Program::Arguments Command(const Program::Arguments& arguments);
// Where `packetdbd` is.
std::string DaemonPath();
// `packetdbd` with these arguments.
Program::Arguments DaemonCommand(const Program::Arguments& arguments);
// Runs `packetdb` with these arguments to its end.
Outcome RunCommand(const Program::Arguments& arguments, const ProgramOptions& options = {});
// The path of a sample capture or its counters.
std::string Sample(const std::string& name);

}  // namespace packetdb::host::test
