#include "host/log/escape.h"

#include <cstdint>
#include <fmt/format.h>
#include <iterator>

namespace packetdb::host {

namespace {

unsigned char ByteAt(std::string_view text, std::size_t i) {
  return static_cast<unsigned char>(text[i]);
}

// The length that the first byte of a UTF-8 sequence announces; 0 for a byte that starts none.
std::size_t SequenceLength(unsigned char first) {
  if (first < 0x80) {
    return 1;
  }
  if (first >= 0xC2 && first <= 0xDF) {
    return 2;
  }
  if (first >= 0xE0 && first <= 0xEF) {
    return 3;
  }
  return first >= 0xF0 && first <= 0xF4 ? 4 : 0;
}

std::uint32_t Decode(std::string_view sequence) {
  constexpr std::uint32_t kFirstByteBits[] = {0, 0x7F, 0x1F, 0x0F, 0x07};
  std::uint32_t point = ByteAt(sequence, 0) & kFirstByteBits[sequence.size()];
  for (std::size_t i = 1; i < sequence.size(); ++i) {
    point = point << 6U | (ByteAt(sequence, i) & 0x3FU);
  }
  return point;
}

bool IsControl(std::uint32_t point) { return point < 0x20 || (point >= 0x7F && point < 0xA0); }

// RFC 3629: the shortest form only, no surrogates, nothing beyond U+10FFFF.
bool IsAllowed(std::uint32_t point, std::size_t length) {
  constexpr std::uint32_t kLowest[] = {0, 0, 0x80, 0x800, 0x10000};
  const bool surrogate = point >= 0xD800 && point <= 0xDFFF;
  return point >= kLowest[length] && point <= 0x10FFFF && !surrogate;
}

// The bytes of the printable character that the text starts with; 0 when it starts with none.
std::size_t PrintableLength(std::string_view text) {
  const std::size_t length = SequenceLength(ByteAt(text, 0));
  if (length == 0 || length > text.size()) {
    return 0;
  }
  for (std::size_t i = 1; i < length; ++i) {
    if ((ByteAt(text, i) & 0xC0U) != 0x80U) {
      return 0;
    }
  }
  const std::uint32_t point = Decode(text.substr(0, length));
  return IsAllowed(point, length) && !IsControl(point) ? length : 0;
}

}  // namespace

std::string EscapeForLog(std::string_view text) {
  const std::string_view kept = text.substr(0, kLongestLogText);
  std::string out;
  out.reserve(kept.size());
  for (std::size_t i = 0; i < kept.size();) {
    const std::size_t length = PrintableLength(kept.substr(i));
    if (length == 0) {
      fmt::format_to(std::back_inserter(out), "\\x{:02x}", ByteAt(kept, i));
    } else if (kept[i] == '\\') {
      out += "\\\\";
    } else {
      out += kept.substr(i, length);
    }
    i += length == 0 ? 1 : length;
  }
  if (kept.size() < text.size()) {
    fmt::format_to(std::back_inserter(out), " (cut: {} bytes more)", text.size() - kept.size());
  }
  return out;
}

}  // namespace packetdb::host
