#include "host/summary/bars.h"

#include <algorithm>
#include <cmath>

namespace packetdb::host {
namespace {

std::string Repeated(std::size_t times, const char* text) {
  std::string all;
  while (times-- > 0) all += text;
  return all;
}

}  // namespace

std::string BarOf(std::uint64_t number, std::uint64_t most, std::size_t width, BarStyle style) {
  constexpr const char* kEighths[] = {"", "▏", "▎", "▍", "▌", "▋", "▊", "▉"};
  if (number == 0) return "";
  const std::size_t parts = style == BarStyle::kBlocks ? 8 : 1;
  const double share = static_cast<double>(number) / static_cast<double>(most);
  const double exact = share * static_cast<double>(width * parts);
  const std::size_t shown =
      std::clamp<std::size_t>(static_cast<std::size_t>(std::llround(exact)), 1, width * parts);
  if (style == BarStyle::kAscii) return std::string(shown, '#');
  return Repeated(shown / parts, "█") + kEighths[shown % parts];
}

}  // namespace packetdb::host
