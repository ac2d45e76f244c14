// The loop of the intake process: whatever source has something gives it, in turn.
#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <vector>

#include "host/bus/socket_descriptor.h"
#include "host/daemon/moment.h"
#include "host/daemon/signals.h"
#include "host/daemon/time_cut.h"
#include "host/intake/intake.h"
#include "host/sources/live_source.h"
#include "host/status/status_page.h"

namespace packetdb::host {

struct IntakeLoopOptions {
  // The loop turns at least this often, and shows that in the page.
  std::chrono::milliseconds beat{1000};
  // Captures: what came up to this moment belongs to the process before. None: there was none.
  std::optional<Moment> since;
};

class IntakeLoop {
 public:
  // Everything outlives the loop. Throws std::system_error.
  IntakeLoop(const std::vector<LiveSource*>& sources, Intake& intake, Signals& signals,
             StatusPage& page, const IntakeLoopOptions& options);

  // Takes in until SIGTERM, and then what had come until then; or until the signal to hand over,
  // and then only what nobody else can. Throws std::runtime_error when no source is left.
  void Run();

 private:
  struct Source {
    LiveSource* source = nullptr;
    bool is_capture = false;
    bool usable = true;
    std::optional<SinceSink> since;  // for a capture that somebody else read before
    std::optional<UntilSink> until;  // while the loop comes to its end
  };

  void Watch(int fd, std::size_t index);
  void Unwatch(int fd);
  // Waits at most so long, lets every source that is ready give a batch. False when none was.
  bool Turn(std::chrono::milliseconds longest);
  bool Receive(Source& source);
  EventSink& SinkOf(Source& source);
  void Lose(Source& source, const std::string& why);
  void HandleSignals();
  void FollowLogLevel() const;
  void Drain();
  void HandOver();
  bool WaitsForCapture() const;

  std::vector<Source> sources_;
  Intake& intake_;
  Signals& signals_;
  StatusPage& page_;
  std::chrono::milliseconds beat_;
  SocketDescriptor epoll_;
  std::optional<int> asked_;  // the signal that ends the loop
};

}  // namespace packetdb::host
