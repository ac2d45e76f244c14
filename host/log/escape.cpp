#include "host/log/escape.h"

#include <fmt/format.h>
#include <iterator>

namespace packetdb::host {

namespace {

bool IsControl(unsigned char byte) { return byte < 0x20 || byte == 0x7F; }

}  // namespace

std::string EscapeForLog(std::string_view text) {
  const std::string_view kept = text.substr(0, kLongestLogText);
  std::string out;
  out.reserve(kept.size());
  for (const char c : kept) {
    const auto byte = static_cast<unsigned char>(c);
    if (IsControl(byte)) {
      fmt::format_to(std::back_inserter(out), "\\x{:02x}", byte);
    } else if (c == '\\') {
      out += "\\\\";
    } else {
      out += c;
    }
  }
  if (kept.size() < text.size()) {
    fmt::format_to(std::back_inserter(out), " (cut: {} bytes more)", text.size() - kept.size());
  }
  return out;
}

}  // namespace packetdb::host
