// A network interface whose packets are captured.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "host/sources/batch_time.h"
#include "host/sources/interface_drops.h"
#include "host/sources/link_layer.h"
#include "host/sources/live_capture_handle.h"
#include "host/sources/live_interface_names.h"
#include "host/sources/live_source.h"

namespace packetdb::host {

// What did not fit the ring is counted as the kernel counts it: on the loopback interface a packet
// may be two of them, as it goes out and as it comes in, though it gives one event.
//
// Opening needs CAP_NET_RAW; receiving opens nothing. One process may open a capture and another,
// which it forks, read it. But only one ever: how far the ring has been read is in that process's
// memory, so its successor needs a capture of its own.
class LiveCapture final : public LiveSource {
 public:
  // Throws SourceError: no such interface, no right to capture, a link type that we cannot take
  // apart, a filter that is none.
  static std::unique_ptr<LiveCapture> Open(const LiveCaptureOptions& options);

  const std::string& name() const override { return name_; }
  int fd() const override;
  // An interface that has gone down or away ends the capture by std::system_error.
  bool Receive(EventSink& sink) override;
  const CaptureCounters& packets() const override { return packets_; }
  LiveCounters counters() const override { return counters_; }
  // Captured packets have no numbers.
  void ExpectSequence(std::uint64_t /*next*/) override {}

 private:
  LiveCapture(const LiveCaptureOptions& options, PcapHandle handle);
  bool ReceiveOne(const BatchTime& now, EventSink& sink);
  void Take(const Frame& frame, const PacketTime& time, const BatchTime& now, EventSink& sink);
  [[noreturn]] void Fail(const std::string& reason) const;
  void CountLosses(const BatchTime& now);

  std::string name_;
  std::string interface_;
  PcapHandle handle_;
  LinkParser parser_;
  LiveInterfaceNames names_;
  InterfaceDrops drops_;
  std::chrono::steady_clock::time_point drops_read_;
  CaptureCounters packets_;
  LiveCounters counters_;
  LiveEvent event_;
};

}  // namespace packetdb::host
