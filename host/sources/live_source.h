// A source of events that are happening: a log group of the kernel's packet filter, or an interface
// that is captured.
#pragma once

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

#include "host/sources/counters.h"
#include "host/sources/event.h"

namespace packetdb::host {

// An event before its rule has been looked up: its code is 0 and its flags have no verdict.
struct LiveEvent {
  Event event;
  std::string_view prefix;           // of the rule that logged it; empty: none. Valid in the sink
  std::uint16_t log_group = 0;       // for a log group, else 0
  std::uint32_t mark = 0;            // of the packet, 0 for none
  std::optional<std::uint32_t> uid;  // of the local sender's socket, where the kernel tells
};

// Takes events, one at a time, in the order in which they came.
class EventSink {
 public:
  virtual void Take(const LiveEvent& event) = 0;

 protected:
  ~EventSink() = default;
};

// What a source tells of itself besides what became of its packets. Counters only grow.
struct LiveCounters {
  std::uint64_t lost_overrun = 0;      // packets, as gaps in the sequence or the kernel's own count
  std::uint64_t lost_before_read = 0;  // packets that the interface dropped, where it tells
  std::uint64_t overruns = 0;          // times that the kernel reported a full buffer
  std::uint64_t foreign = 0;           // messages from somebody else than the kernel
  std::uint64_t malformed = 0;         // messages that could not be taken apart
  std::uint64_t batches = 0;           // receives that brought something
  std::uint32_t buffer_bytes = 0;      // effective size of the kernel's buffer
  // What the next record's number should be, from 1 to 2^32, which stands for 0: the numbers have
  // 32 bits. 0: not known yet.
  std::uint64_t next_sequence = 0;
};

// Why a source cannot be opened: one line for people, which names it.
class SourceError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

class LiveSource {
 public:
  virtual ~LiveSource() = default;

  // "nflog:5", "capture:eth0".
  virtual const std::string& name() const = 0;
  // For poll(): readable when something waits.
  virtual int fd() const = 0;
  // Gives the sink what waits, up to one batch; never blocks. False when nothing waited. Throws
  // std::system_error when the source is of no further use; a full buffer is none of these.
  virtual bool Receive(EventSink& sink) = 0;
  // Packets, events and why others gave none.
  virtual const CaptureCounters& packets() const = 0;
  virtual LiveCounters counters() const = 0;
  // Goes on where another process left off, whose counters().next_sequence this is: a gap before
  // the first record is then counted. 0 changes nothing.
  virtual void ExpectSequence(std::uint64_t next) = 0;
};

}  // namespace packetdb::host
