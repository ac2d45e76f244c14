#include "host/printing/address_text.h"

#include <fmt/format.h>

namespace packetdb::host {

void AppendAddress(std::uint32_t address, std::string* text) {
  for (int shift = 24; shift >= 0; shift -= 8) {
    const fmt::format_int number(address >> static_cast<unsigned>(shift) & 0xFF);
    text->append(number.data(), number.size());
    if (shift > 0) text->push_back('.');
  }
}

std::string AddressText(std::uint32_t address) {
  std::string text;
  AppendAddress(address, &text);
  return text;
}

}  // namespace packetdb::host
