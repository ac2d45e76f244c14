#include "host/config/line_rules.h"

#include <algorithm>
#include <fmt/format.h>

namespace packetdb::host {
namespace {

bool IsControl(char c) {
  const auto byte = static_cast<unsigned char>(c);
  return (byte < 0x20 && c != '\t') || byte == 0x7F;
}

// Bytes that go on with a character do not count.
std::uint32_t Characters(std::string_view text) {
  return static_cast<std::uint32_t>(std::count_if(text.begin(), text.end(), [](char c) {
    return (static_cast<unsigned char>(c) & 0xC0U) != 0x80U;
  }));
}

std::optional<LineFault> FaultOf(std::string_view line, std::uint32_t number, std::size_t longest) {
  if (line.size() > longest) {
    return LineFault{number, 1,
                     fmt::format("the line has {} bytes, more than {}", line.size(), longest)};
  }
  const auto* const control = std::find_if(line.begin(), line.end(), IsControl);
  if (control == line.end()) return std::nullopt;
  const auto before = static_cast<std::size_t>(control - line.begin());
  return LineFault{
      number, Characters(line.substr(0, before)) + 1,
      fmt::format("there is a control character, 0x{:02x}", static_cast<unsigned char>(*control))};
}

}  // namespace

std::optional<LineFault> FindLineFault(std::string_view text, std::size_t longest) {
  std::uint32_t number = 0;
  while (!text.empty()) {
    const std::size_t end = text.find('\n');
    std::string_view line = text.substr(0, end);
    text = end == std::string_view::npos ? std::string_view() : text.substr(end + 1);
    if (end != std::string_view::npos && line.ends_with('\r')) line.remove_suffix(1);
    if (auto fault = FaultOf(line, ++number, longest)) return fault;
  }
  return std::nullopt;
}

}  // namespace packetdb::host
