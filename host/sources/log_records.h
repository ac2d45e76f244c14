// From the datagrams of a log group's socket to events. Knows no socket: what the kernel sends is
// data, and what is wrong with it is counted.
#pragma once

#include <cstdint>

#include "host/sources/batch_time.h"
#include "host/sources/bytes.h"
#include "host/sources/live_interface_names.h"
#include "host/sources/live_source.h"
#include "host/sources/nflog_record.h"
#include "host/sources/sequence.h"

namespace packetdb::host {

class LogRecords {
 public:
  LogRecords(std::uint16_t group, LiveInterfaceNames names);

  // Gives the sink the events of one datagram, which came from the kernel. Throws std::system_error
  // when the kernel says that it refused the group's configuration.
  void Take(ByteView datagram, const BatchTime& now, EventSink& sink);

  const CaptureCounters& packets() const { return packets_; }
  std::uint64_t lost() const { return lost_; }
  std::uint64_t malformed() const { return malformed_; }
  SequenceTracker& sequence() { return sequence_; }
  const SequenceTracker& sequence() const { return sequence_; }

 private:
  void TakeMessage(std::uint16_t type, ByteView body, const BatchTime& now, EventSink& sink);
  void TakeError(ByteView body);
  void TakeRecord(ByteView body, const BatchTime& now, EventSink& sink);
  void TakePacket(std::uint8_t family, const NflogRecord& record, const BatchTime& now,
                  EventSink& sink);

  std::uint16_t group_;
  LiveInterfaceNames names_;
  SequenceTracker sequence_;
  CaptureCounters packets_;
  std::uint64_t lost_ = 0;
  std::uint64_t malformed_ = 0;
  LiveEvent event_;  // kept, so that its texts need no memory of their own each time
};

}  // namespace packetdb::host
