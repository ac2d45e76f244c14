#include "host/intake/quoted_text.h"

#include <charconv>
#include <fmt/format.h>

namespace packetdb::host {

namespace {

constexpr std::size_t kEscapeSize = 4;  // \xhh

bool IsPlain(char c) { return c >= ' ' && c <= '~' && c != '"' && c != '\\'; }

bool IsLowerHex(char c) { return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f'); }

// Takes an escaped byte off the front.
std::optional<char> TakeEscape(std::string_view& rest) {
  if (rest.size() < kEscapeSize || !rest.starts_with("\\x") || !IsLowerHex(rest[2]) ||
      !IsLowerHex(rest[3])) {
    return std::nullopt;
  }
  unsigned int byte = 0;
  std::from_chars(rest.data() + 2, rest.data() + kEscapeSize, byte, 16);
  const char c = static_cast<char>(byte);
  rest.remove_prefix(kEscapeSize);
  return IsPlain(c) ? std::nullopt : std::optional<char>(c);
}

}  // namespace

std::string QuoteText(std::string_view text) {
  std::string quoted = "\"";
  for (const char c : text) {
    if (IsPlain(c)) {
      quoted += c;
    } else {
      quoted += fmt::format("\\x{:02x}", static_cast<unsigned char>(c));
    }
  }
  return quoted + '"';
}

std::optional<std::string> TakeQuotedText(std::string_view& rest) {
  if (!rest.starts_with('"')) {
    return std::nullopt;
  }
  rest.remove_prefix(1);
  std::string text;
  while (!rest.empty() && rest.front() != '"') {
    if (IsPlain(rest.front())) {
      text += rest.front();
      rest.remove_prefix(1);
    } else if (const std::optional<char> byte = TakeEscape(rest)) {
      text += *byte;
    } else {
      return std::nullopt;
    }
  }
  if (rest.empty()) {
    return std::nullopt;
  }
  rest.remove_prefix(1);
  return text;
}

}  // namespace packetdb::host
