#include "fuzz/log_message_tree.h"

#include <algorithm>
#include <cstring>

namespace packetdb::fuzz {
namespace {

using View = std::span<const std::uint8_t>;

constexpr std::size_t kMessageHeader = 16;
constexpr std::size_t kRecordHeader = 4;
constexpr std::size_t kAttributeHeader = 4;

std::size_t Padded(std::size_t size) { return (size + 3) / 4 * 4; }

template <class T>
T Read(View bytes, std::size_t at) {
  T value = 0;
  std::memcpy(&value, bytes.data() + at, sizeof value);
  return value;
}

template <class T>
void Append(Bytes& bytes, T value) {
  const auto* const raw = reinterpret_cast<const std::uint8_t*>(&value);
  bytes.insert(bytes.end(), raw, raw + sizeof value);
}

void AppendPadded(Bytes& bytes, const Bytes& more) {
  bytes.insert(bytes.end(), more.begin(), more.end());
  bytes.resize(Padded(bytes.size()));
}

// The bytes that belong to something that claims this length; the rest loses them.
View Cut(View& rest, std::size_t header, std::size_t length) {
  const std::size_t size = std::clamp(length, header, rest.size());
  const View part = rest.subspan(header, size - header);
  rest = rest.subspan(std::min(Padded(size), rest.size()));
  return part;
}

std::vector<Attribute> ParseAttributes(View rest) {
  std::vector<Attribute> attributes;
  while (rest.size() >= kAttributeHeader) {
    const auto length = Read<std::uint16_t>(rest, 0);
    const auto type = Read<std::uint16_t>(rest, 2);
    const View value = Cut(rest, kAttributeHeader, length);
    Attribute attribute{type, {value.begin(), value.end()}, {}};
    if (length != value.size() + kAttributeHeader) attribute.length = length;
    attributes.push_back(std::move(attribute));
  }
  return attributes;
}

Datagram ParseDatagram(View rest) {
  Datagram messages;
  while (rest.size() >= kMessageHeader) {
    Message message;
    const auto length = Read<std::uint32_t>(rest, 0);
    message.type = Read<std::uint16_t>(rest, 4);
    const View body = Cut(rest, kMessageHeader, length);
    if (length != body.size() + kMessageHeader) message.length = length;
    const bool is_record = message.type == kLogMessageType && body.size() >= kRecordHeader;
    const View own = body.first(is_record ? kRecordHeader : body.size());
    message.body.assign(own.begin(), own.end());
    message.attributes = ParseAttributes(body.subspan(own.size()));
    messages.push_back(std::move(message));
  }
  return messages;
}

Bytes Serialize(const std::vector<Attribute>& attributes) {
  Bytes bytes;
  for (const Attribute& attribute : attributes) {
    const std::size_t length = attribute.value.size() + kAttributeHeader;
    Append(bytes, attribute.length.value_or(static_cast<std::uint16_t>(length)));
    Append(bytes, attribute.type);
    AppendPadded(bytes, attribute.value);
  }
  return bytes;
}

Bytes Serialize(const Datagram& messages) {
  Bytes bytes;
  for (const Message& message : messages) {
    Bytes body = message.body;
    const Bytes attributes = Serialize(message.attributes);
    body.insert(body.end(), attributes.begin(), attributes.end());
    const std::size_t length = body.size() + kMessageHeader;
    Append(bytes, message.length.value_or(static_cast<std::uint32_t>(length)));
    Append(bytes, message.type);
    bytes.resize(bytes.size() + kMessageHeader - 6);
    AppendPadded(bytes, body);
  }
  return bytes;
}

}  // namespace

std::vector<Datagram> ParseMessages(View input) {
  std::vector<Datagram> datagrams;
  for (const Bytes& bytes : SplitDatagrams(input)) datagrams.push_back(ParseDatagram(bytes));
  return datagrams;
}

Bytes SerializeMessages(const std::vector<Datagram>& datagrams) {
  std::vector<Bytes> serialized;
  for (const Datagram& datagram : datagrams) serialized.push_back(Serialize(datagram));
  return JoinDatagrams(serialized);
}

void RepairLengths(std::vector<Datagram>& datagrams) {
  for (Datagram& datagram : datagrams) {
    for (Message& message : datagram) {
      message.length.reset();
      for (Attribute& attribute : message.attributes) attribute.length.reset();
    }
  }
}

Bytes BigBytes(std::uint32_t value) {
  Bytes bytes;
  for (int shift = 24; shift >= 0; shift -= 8) {
    bytes.push_back(static_cast<std::uint8_t>(value >> shift));
  }
  return bytes;
}

}  // namespace packetdb::fuzz
