#include "host/cli/parse_number.h"

#include <charconv>

namespace packetdb::host {

std::optional<std::int64_t> ParseNumber(std::string_view text, std::int64_t lowest,
                                        std::int64_t highest) {
  int base = 10;
  if (text.starts_with("0x") || text.starts_with("0X")) {
    text.remove_prefix(2);
    base = 16;
    if (text.starts_with("-")) {
      return std::nullopt;
    }
  }
  std::int64_t value = 0;
  const char* end = text.data() + text.size();
  const auto parsed = std::from_chars(text.data(), end, value, base);
  if (parsed.ec != std::errc() || parsed.ptr != end || value < lowest || value > highest) {
    return std::nullopt;
  }
  return value;
}

std::vector<std::string> SplitAtCommas(std::string_view text) {
  std::vector<std::string> parts;
  std::size_t begin = 0;
  for (std::size_t comma = text.find(','); comma != std::string_view::npos;
       comma = text.find(',', begin)) {
    parts.emplace_back(text.substr(begin, comma - begin));
    begin = comma + 1;
  }
  parts.emplace_back(text.substr(begin));
  return parts;
}

std::pair<std::string, std::string> SplitRange(std::string_view text) {
  const std::size_t dash = text.find('-', 1);
  if (dash == std::string_view::npos) {
    return {std::string(text), std::string(text)};
  }
  return {std::string(text.substr(0, dash)), std::string(text.substr(dash + 1))};
}

}  // namespace packetdb::host
