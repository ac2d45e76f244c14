#include <cassert>
#include <cerrno>
#include <poll.h>
#include <sys/socket.h>

#include "host/bus/byte_order.h"
#include "host/bus/connection.h"

namespace packetdb::host {
namespace {

// One system call for about a thousand journal rows, and little memory held for a slow reader.
constexpr std::size_t kBatchSize = 65536;

}  // namespace

bool Connection::WriteFrame(FrameType type, std::span<const unsigned char> payload) {
  assert(payload.size() <= kMaxPayload);
  if (!sound()) return false;
  const std::size_t at = out_.size();
  // All the memory first: without it nothing changes, and no half of a frame ever goes out. Less
  // than a batch is waiting, so this rarely allocates.
  out_.reserve(kBatchSize + kPayloadOffset + payload.size());
  out_.resize(at + kPayloadOffset);
  StoreNetwork32(&out_[at], static_cast<std::uint32_t>(kMinFrameLength + payload.size()));
  out_[at + kVersionOffset] = kProtocolVersion;
  out_[at + kTypeOffset] = static_cast<unsigned char>(type);
  out_.insert(out_.end(), payload.begin(), payload.end());
  return out_.size() < kBatchSize || Flush();
}

bool Connection::Flush() {
  std::size_t sent = 0;
  // Any progress gives the peer its whole time again.
  Deadline deadline(timeouts_.send);
  while (sound() && sent < out_.size()) {
    const ssize_t count = send(fd(), out_.data() + sent, out_.size() - sent, MSG_NOSIGNAL);
    if (count >= 0) {
      sent += static_cast<std::size_t>(count);
      deadline = Deadline(timeouts_.send);
    } else if (errno == EAGAIN) {
      AwaitEvent(POLLOUT, &deadline, "sending");
    } else if (errno != EINTR) {
      FailSystem(errno, "sending");
    }
  }
  out_.clear();
  return sound();
}

}  // namespace packetdb::host
