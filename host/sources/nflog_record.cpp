#include "host/sources/nflog_record.h"

#include "host/sources/nflog_attributes.h"

namespace packetdb::host {
namespace {

// The kernel ends the text with a NUL; other writers may not.
std::string_view PrefixText(ByteView value) {
  const std::string_view text(reinterpret_cast<const char*>(value.data()), value.size());
  return text.substr(0, text.find('\0'));
}

bool ReadPacketHeader(ByteView value, NflogRecord& record) {
  constexpr std::size_t kLength = 4;  // EtherType, hook, a pad byte
  if (value.size() < kLength) return false;
  record.ether_type = Big16(value, 0);
  record.hook = value[2];
  return true;
}

bool ReadIndex(ByteView value, std::uint32_t& index) {
  if (value.size() < sizeof index) return false;
  index = Big32(value, 0);
  return true;
}

std::optional<std::uint32_t> ReadNumber(ByteView value) {
  if (value.size() < sizeof(std::uint32_t)) return std::nullopt;
  return Big32(value, 0);
}

std::optional<PacketTime> ReadStamp(ByteView value) {
  constexpr std::size_t kLength = 16;  // seconds and microseconds, 64 bits each
  constexpr std::uint64_t kMicroseconds = 1'000'000;
  if (value.size() < kLength) return std::nullopt;
  const std::uint64_t fraction = Big64(value, 8);
  if (fraction >= kMicroseconds) return std::nullopt;
  return PacketTime{static_cast<std::int64_t>(Big64(value, 0)),
                    static_cast<std::uint32_t>(fraction * 1000)};
}

// False: the value is too short to go without it.
bool ReadAttribute(const NflogAttribute& attribute, NflogRecord& record) {
  const ByteView value = attribute.value.bytes;
  switch (attribute.type) {
    case kNflogPacketHeader:
      return ReadPacketHeader(value, record);
    case kNflogIndexIn:
      return ReadIndex(value, record.index_in);
    case kNflogIndexOut:
      return ReadIndex(value, record.index_out);
    case kNflogPrefix:
      record.prefix = PrefixText(value);
      break;
    case kNflogPayload:
      record.payload = attribute.value;
      break;
    case kNflogMark:
      record.mark = ReadNumber(value).value_or(0);
      break;
    case kNflogUid:
      record.uid = ReadNumber(value);
      break;
    case kNflogSequence:
      record.sequence = ReadNumber(value);
      break;
    case kNflogTimestamp:
      record.stamp = ReadStamp(value);
      break;
    default:
      break;
  }
  return true;
}

}  // namespace

NflogRecord ReadNflogRecord(const Frame& attributes) {
  NflogRecord record;
  NflogAttributes walk(attributes);
  while (const auto attribute = walk.Next()) {
    const bool cut = attribute->value.bytes.size() < attribute->value.wire_length;
    if (!ReadAttribute(*attribute, record) && !cut) {
      record.damaged = true;
      return record;
    }
  }
  record.damaged = walk.damaged();
  return record;
}

}  // namespace packetdb::host
