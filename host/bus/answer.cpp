// The answer code of a command, asked for and given.
#include <array>
#include <utility>

#include "host/bus/answer_code.h"
#include "host/bus/byte_order.h"
#include "host/bus/message.h"

namespace packetdb::host {
namespace {

int FailedWait(BusError reason) {
  switch (reason) {
    case BusError::kTimedOut:
      return kAnswerTimedOut;
    case BusError::kPeerClosed:
    case BusError::kClosedMidway:
      return kAnswerClosed;
    default:
      return IsMalformed(reason) ? kAnswerMalformed : kAnswerReadFailed;
  }
}

// Every message on this bus is ours: nothing else can be attached to a connection, and the library
// only passes on what a host gave it.
Message& OurMessage(CAbstractPacketOptions* message) { return *static_cast<Message*>(message); }

}  // namespace

int Message::GetCommandAnswer() {
  const bool asked = write_state_ == WriteState::kFinished && write_header_.kind == kKindRequest;
  if (!asked || got_answer_) {
    Refuse(BusError::kWrongOrder);
    return kAnswerNotAsked;
  }
  if (!connection_.Flush()) {
    WriteFailed();
    return kAnswerWriteFailed;
  }
  return AwaitAnswer();
}

int Message::AwaitAnswer() {
  BusFrame frame;
  if (!connection_.ReadFrame(Wait::kForPeer, &frame)) {
    ReadFailed();
    return FailedWait(connection_.failure().code);
  }
  if (frame.type != FrameType::kAnswer) {
    Malformed(BusError::kUnexpectedFrame, "an answer was due");
    return kAnswerMalformed;
  }
  const bool sized = frame.payload.size() == kAnswerSize;
  const int answer = sized ? static_cast<int>(LoadNetwork32(frame.payload.data())) : 0;
  if (!sized || IsLocalAnswer(answer)) {
    Malformed(BusError::kMalformedAnswer);
    return kAnswerMalformed;
  }
  got_answer_ = answer;
  return answer;
}

// One answer, and behind a success one more that takes it back, until the table is complete.
bool Message::MayAnswer(int answer) const {
  if (!HasRequest() || write_state_ == WriteState::kFinished) return false;
  return !sent_answer_ || (*sent_answer_ == kAnswerOk && answer != kAnswerOk);
}

std::optional<int> Message::ReleaseFailure() {
  holds_failure_ = false;
  return std::exchange(held_failure_, std::nullopt);
}

int Message::SendCommandAnswer(int answer) {
  if (IsLocalAnswer(answer)) return Refuse(BusError::kReservedAnswer);
  if (!MayAnswer(answer)) return Refuse(BusError::kWrongOrder);
  if (holds_failure_ && answer != kAnswerOk && !sent_answer_) {
    held_failure_ = answer;
    return 0;
  }
  std::array<unsigned char, kAnswerSize> payload;
  StoreNetwork32(payload.data(), static_cast<std::uint32_t>(answer));
  if (!connection_.WriteFrame(FrameType::kAnswer, payload)) return WriteFailed();
  if (!connection_.Flush()) return WriteFailed();
  sent_answer_ = answer;
  if (IsTableOpen() && answer != kAnswerOk) write_state_ = WriteState::kFinished;
  return 0;
}

}  // namespace packetdb::host

int udbGetCommandAnswer(CAbstractPacketOptions* message) {
  return packetdb::host::OurMessage(message).GetCommandAnswer();
}

int udbSendCommandAnswer(CAbstractPacketOptions* message, int answer) {
  return packetdb::host::OurMessage(message).SendCommandAnswer(answer);
}
