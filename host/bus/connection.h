// One end of a stream socket that carries frames.
//
// Reading and writing block, within the time limits given. What is written is collected and sent
// in batches of about 64 KiB; Flush sends the rest. The first failure stays: from then on every
// operation fails at once, and failure() tells why. No signal is raised when the peer is gone. One
// thread at a time.
#pragma once

#include <cstddef>
#include <limits>
#include <optional>
#include <span>
#include <string_view>
#include <sys/types.h>
#include <vector>

#include "host/bus/error.h"
#include "host/bus/frame.h"
#include "host/bus/socket_descriptor.h"
#include "host/bus/timeouts.h"

namespace packetdb::host {

// Who connected, or who listened, as the kernel noted it at that time.
struct PeerCredentials {
  pid_t pid;
  uid_t uid;
  gid_t gid;
};

// What a reader is prepared for.
enum class Wait {
  kForPeer,  // a new exchange: the peer may think for Timeouts::wait, and may close instead
  kForRest,  // the rest of an exchange: it has to come within Timeouts::frame
};

class Connection {
 public:
  // Takes the connected stream socket over and makes it non-blocking.
  Connection(SocketDescriptor socket, const Timeouts& timeouts);
  // Closes this process's descriptor, sends nothing: a connection that was handed to a child is
  // not disturbed when the parent drops it.
  ~Connection() = default;
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  // Reads the next frame, whose payload stays valid until the next operation on the connection.
  // Sends nothing by itself: what the peer has to see first needs a Flush.
  bool ReadFrame(Wait wait, BusFrame* frame);

  // Appends a frame to what is to be sent. The payload is at most kMaxPayload bytes. Sends when a
  // batch is full.
  bool WriteFrame(FrameType type, std::span<const unsigned char> payload);

  // Sends everything that was written.
  bool Flush();

  // Ends the use of the connection for a reason that was found in what the peer sent, unless it
  // failed earlier. Returns false, so that a check can end in it.
  bool Fail(BusError code, std::string_view detail = {});

  // Why the connection is of no further use; code kNone while it is sound.
  const BusFailure& failure() const { return failure_; }
  bool sound() const { return failure_.code == BusError::kNone; }

  // Nothing when the socket's family has no credentials.
  std::optional<PeerCredentials> Peer() const;

  void set_timeouts(const Timeouts& timeouts) { timeouts_ = timeouts; }
  // How many bytes the frames that the peer sends in an exchange may have together. No limit
  // before this.
  void set_max_message(std::size_t bytes) { max_message_ = bytes; }
  int fd() const { return socket_.get(); }

 private:
  bool FailSystem(int error, std::string_view detail);

  bool AwaitFirstByte(Wait wait);
  void BeginMessage();
  bool Fill(std::size_t size, Deadline* deadline, bool may_close);
  bool Receive(Deadline* deadline, bool may_close);
  bool TakeReceived(ssize_t count, int message_flags, bool may_close);
  bool CheckLength(std::size_t length);
  bool CheckVersionAndType(const unsigned char* frame);
  std::size_t Buffered() const { return in_end_ - in_begin_; }
  void MakeRoom();

  bool AwaitEvent(short events, Deadline* deadline, std::string_view detail);

  SocketDescriptor socket_;
  Timeouts timeouts_;
  std::size_t max_message_ = std::numeric_limits<std::size_t>::max();
  std::size_t message_bytes_ = 0;  // of the exchange so far
  Deadline message_deadline_;      // of the exchange
  BusFailure failure_;
  std::vector<unsigned char> in_;  // received bytes lie in [in_begin_, in_end_)
  std::size_t in_begin_ = 0;
  std::size_t in_end_ = 0;
  std::vector<unsigned char> out_;  // written, not yet sent
};

}  // namespace packetdb::host
