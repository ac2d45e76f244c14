#include "host/sources/nflog_attributes.h"

#include <algorithm>

namespace packetdb::host {
namespace {

constexpr std::size_t kAttributeHeader = 4;
constexpr std::size_t kAlignment = 4;
constexpr std::uint16_t kTypeMask = 0x3fff;

std::size_t Padded(std::size_t length) {
  return (length + kAlignment - 1) / kAlignment * kAlignment;
}

}  // namespace

std::optional<NflogAttribute> NflogAttributes::Stop(bool damaged) {
  damaged_ = damaged;
  rest_ = {};
  return std::nullopt;
}

std::optional<NflogAttribute> NflogAttributes::Next() {
  const bool cut = rest_.bytes.size() < rest_.wire_length;
  if (rest_.bytes.size() < kAttributeHeader) return Stop(!rest_.bytes.empty() && !cut);
  const std::size_t length = Native<std::uint16_t>(rest_.bytes, 0);
  if (length < kAttributeHeader || length > rest_.wire_length) return Stop(true);

  const std::size_t captured = std::min(length, rest_.bytes.size());
  const auto type = static_cast<std::uint16_t>(Native<std::uint16_t>(rest_.bytes, 2) & kTypeMask);
  const NflogAttribute attribute{
      type,
      {rest_.bytes.subspan(kAttributeHeader, captured - kAttributeHeader),
       length - kAttributeHeader}};
  // The padding of the last attribute may be missing.
  const std::size_t next = std::min(Padded(length), rest_.bytes.size());
  rest_ = rest_.Behind(next);
  return attribute;
}

}  // namespace packetdb::host
