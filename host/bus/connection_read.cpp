#include <cerrno>
#include <cstring>
#include <poll.h>
#include <string>
#include <sys/socket.h>

#include "host/bus/byte_order.h"
#include "host/bus/connection.h"

namespace packetdb::host {
namespace {

constexpr std::size_t kReceiveSize = 65536;
constexpr std::string_view kReading = "reading";

}  // namespace

bool Connection::ReadFrame(Wait wait, BusFrame* frame) {
  if (!sound() || !AwaitFirstByte(wait)) return false;
  if (wait == Wait::kForPeer) BeginMessage();
  Deadline deadline(timeouts_.frame, &message_deadline_);
  if (!Fill(kLengthSize, &deadline, false)) return false;
  const std::size_t length = LoadNetwork32(&in_[in_begin_]);
  // Each part is judged as soon as it is there, so that nobody waits for the rest of nonsense.
  if (!CheckLength(length) || !Fill(kPayloadOffset, &deadline, false)) return false;
  if (!CheckVersionAndType(&in_[in_begin_])) return false;
  if (!Fill(kLengthSize + length, &deadline, false)) return false;
  frame->type = static_cast<FrameType>(in_[in_begin_ + kTypeOffset]);
  frame->payload = {&in_[in_begin_] + kPayloadOffset, length - kMinFrameLength};
  in_begin_ += kLengthSize + length;
  return true;
}

bool Connection::AwaitFirstByte(Wait wait) {
  if (wait == Wait::kForRest) return true;
  Deadline deadline(timeouts_.wait);
  return Fill(1, &deadline, true);
}

void Connection::BeginMessage() {
  message_deadline_ = Deadline(timeouts_.message);
  message_bytes_ = 0;
}

// Receives until `size` bytes lie in the buffer. `may_close`: closing before the first of them is
// the peer's right.
bool Connection::Fill(std::size_t size, Deadline* deadline, bool may_close) {
  while (Buffered() < size) {
    if (!Receive(deadline, may_close && Buffered() == 0)) return false;
  }
  return true;
}

bool Connection::Receive(Deadline* deadline, bool may_close) {
  MakeRoom();
  for (;;) {
    iovec room{&in_[in_end_], in_.size() - in_end_};
    // Without a control buffer the kernel closes descriptors that the peer sends and says so with
    // MSG_CTRUNC.
    msghdr message{};
    message.msg_iov = &room;
    message.msg_iovlen = 1;
    const ssize_t count = recvmsg(fd(), &message, 0);
    if (count >= 0) return TakeReceived(count, message.msg_flags, may_close);
    if (errno == EINTR) continue;
    if (errno == ECONNRESET) return TakeReceived(0, 0, may_close);
    if (errno != EAGAIN) return FailSystem(errno, kReading);
    if (!AwaitEvent(POLLIN, deadline, kReading)) return false;
  }
}

bool Connection::TakeReceived(ssize_t count, int message_flags, bool may_close) {
  if ((message_flags & MSG_CTRUNC) != 0) return Fail(BusError::kDescriptorsSent);
  if (count == 0) return Fail(may_close ? BusError::kPeerClosed : BusError::kClosedMidway);
  in_end_ += static_cast<std::size_t>(count);
  return true;
}

// A frame that is bigger than the buffer makes it grow as the bytes arrive, not as they are
// announced.
void Connection::MakeRoom() {
  if (in_begin_ > 0) {
    std::memmove(in_.data(), in_.data() + in_begin_, Buffered());
    in_end_ -= in_begin_;
    in_begin_ = 0;
  }
  if (in_.size() - in_end_ < kReceiveSize / 2) in_.resize(in_end_ + kReceiveSize);
}

bool Connection::CheckLength(std::size_t length) {
  if (length < kMinFrameLength || length > kMaxFrameLength) {
    return Fail(BusError::kBadFrameLength, std::to_string(length));
  }
  message_bytes_ += kLengthSize + length;
  return message_bytes_ <= max_message_ ||
         Fail(BusError::kRequestTooLarge, std::to_string(message_bytes_) + " bytes");
}

bool Connection::CheckVersionAndType(const unsigned char* frame) {
  const int version = frame[kVersionOffset];
  if (version != kProtocolVersion) return Fail(BusError::kBadVersion, std::to_string(version));
  const int type = frame[kTypeOffset];
  if (type >= static_cast<int>(FrameType::kHeader) &&
      type <= static_cast<int>(FrameType::kAnswer)) {
    return true;
  }
  return Fail(BusError::kBadFrameType, std::to_string(type));
}

}  // namespace packetdb::host
