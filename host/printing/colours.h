// Colours of a terminal.
#pragma once

#include <string>
#include <string_view>

#include "host/printing/cells.h"

namespace packetdb::host {

// Appends a safe text in a colour, and the return to the terminal's own.
inline void AppendColoured(std::string_view text, Colour colour, std::string* out) {
  if (colour == Colour::kNone) {
    out->append(text);
    return;
  }
  constexpr std::string_view kBegin[] = {"", "\x1b[31m", "\x1b[33m", "\x1b[32m"};
  out->append(kBegin[static_cast<std::size_t>(colour)]);
  out->append(text);
  out->append("\x1b[0m");
}

}  // namespace packetdb::host
