// A process that the supervisor forked.
#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <sys/types.h>

#include "host/bus/socket_descriptor.h"

namespace packetdb::host {

// By which a child says that it has begun its work. What it has to say it says before it reads the
// first byte that somebody else wrote; afterwards there is no way from it to the supervisor.
class StartReport {
 public:
  explicit StartReport(SocketDescriptor pipe) : pipe_(std::move(pipe)) {}
  void Ready();
  void Failed(const std::string& reason);
  bool made() const { return !pipe_.valid(); }

 private:
  void Write(const std::string& text);

  SocketDescriptor pipe_;
};

class ChildProcess {
 public:
  // What a child does, from its start to its exit status. What it throws before it is ready is why
  // it could not start.
  using Work = std::function<int(StartReport&)>;

  // Forks. The child ends with its parent, even when that is killed (it gets SIGTERM). `name` is
  // for log lines, `shown` for lists of processes (15 bytes at most). Throws std::system_error.
  ChildProcess(std::string name, const char* shown, const Work& work);
  // Kills and reaps what is still running.
  ~ChildProcess();
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  // Waits until the child is ready. Nothing when it is, else why it is not; then it has ended.
  // `given_up` is asked now and again, and a yes ends the wait and the child.
  std::optional<std::string> AwaitReady(const std::function<bool()>& given_up);

  void Signal(int signal) const;
  // For poll(): readable when the child has ended.
  int end_fd() const { return pidfd_.get(); }
  // Whether it has ended; then EndText and ended_well tell how.
  bool HasEnded();
  // Waits for the end so long, then kills. True when that was not needed. Meanwhile `meanwhile` is
  // called, several times a second.
  bool AwaitEnd(std::chrono::milliseconds patience, const std::function<void()>& meanwhile = {});

  // "ended with status 1", "was killed by signal 9 (Killed)".
  std::string EndText() const;
  bool ended_well() const { return ended_ && status_ == 0; }
  pid_t pid() const { return pid_; }
  const std::string& name() const { return name_; }

 private:
  [[noreturn]] void BeChild(pid_t parent, const char* shown, SocketDescriptor report,
                            const Work& work) const;
  void Reap(int options);

  std::string name_;
  pid_t pid_ = -1;
  SocketDescriptor pidfd_;
  SocketDescriptor report_;
  bool ended_ = false;
  int status_ = 0;
};

}  // namespace packetdb::host
