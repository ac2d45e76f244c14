#include "host/cli/bytes_text.h"

#include <array>
#include <fmt/format.h>

namespace packetdb::host {

std::string BytesText(std::uint64_t bytes) {
  constexpr double kStep = 1024;
  constexpr std::array kUnits = {"KiB", "MiB", "GiB", "TiB", "PiB", "EiB"};
  double size = static_cast<double>(bytes) / kStep;
  if (size < 1) {
    return fmt::format("{}", bytes);
  }
  std::size_t unit = 0;
  while (size >= kStep && unit + 1 < kUnits.size()) {
    size /= kStep;
    ++unit;
  }
  return fmt::format("{} ({:.1f} {})", bytes, size, kUnits[unit]);
}

}  // namespace packetdb::host
