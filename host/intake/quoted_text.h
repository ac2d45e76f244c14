// Any bytes as one quoted word of printable ASCII.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace packetdb::host {

// Quotes around it; quotes, backslashes and bytes that are not printable ASCII as \xhh.
std::string QuoteText(std::string_view text);

// Takes a quoted text, as QuoteText writes it and in no other way, off the front of `rest`.
// Nothing, with `rest` in any state, when there is none.
std::optional<std::string> TakeQuotedText(std::string_view& rest);

}  // namespace packetdb::host
