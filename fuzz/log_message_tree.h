// Datagrams of a log group taken apart into messages and attributes, and put together again.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "fuzz/datagrams.h"

namespace packetdb::fuzz {

inline constexpr std::uint16_t kLogMessageType = 4 << 8;

// A length that is given is written whatever the true one is.
struct Attribute {
  std::uint16_t type = 0;
  Bytes value;
  std::optional<std::uint16_t> length;
};

struct Message {
  std::uint16_t type = 0;
  Bytes body;  // of a log record: family, version, group; of others: all there is
  std::vector<Attribute> attributes;
  std::optional<std::uint32_t> length;
};

using Datagram = std::vector<Message>;

// What cannot be taken apart becomes the body of a message, or the value of an attribute, with the
// length that it claims.
std::vector<Datagram> ParseMessages(std::span<const std::uint8_t> input);
Bytes SerializeMessages(const std::vector<Datagram>& datagrams);

// Makes every length the true one.
void RepairLengths(std::vector<Datagram>& datagrams);

Bytes BigBytes(std::uint32_t value);

}  // namespace packetdb::fuzz
