#include "tests/host/sources/log_messages.h"

namespace packetdb::host::test {
namespace {

constexpr std::uint32_t kHeader = 16;

}  // namespace

Bytes Message(std::uint16_t type, const Bytes& body) {
  const auto length = static_cast<std::uint32_t>(kHeader + body.size());
  return LyingMessage(length, type, body) + Zeros((4 - body.size() % 4) % 4);
}

Bytes LyingMessage(std::uint32_t length, std::uint16_t type, const Bytes& body) {
  return Ordered(Order::kNative, length) + Ordered(Order::kNative, type) + Zeros(10) + body;
}

Bytes Refusal(int error) {
  return Ordered(Order::kNative, static_cast<std::uint32_t>(-error)) + Zeros(kHeader);
}

Bytes LogMessage(std::uint16_t group, const Bytes& attributes, std::uint8_t family) {
  return Message(kMessageLog, Bytes{family, 0} + Big(group) + attributes);
}

Bytes Numbered(std::uint32_t number) {
  return LogMessage(5, Attribute(kTypeSequence, Big(number)) + Attribute(kTypePayload, Udp()));
}

}  // namespace packetdb::host::test
