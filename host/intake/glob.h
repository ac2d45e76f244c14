// Patterns of configured names: * stands for any bytes, none included, and ? for any one byte.
#pragma once

#include <string_view>

namespace packetdb::host {

// Whether the pattern fits the whole text. Takes no longer than the product of both lengths,
// whatever they hold.
bool GlobMatches(std::string_view pattern, std::string_view text);

// Whether the pattern has a * or a ?, and so may fit more than one text.
bool IsGlob(std::string_view pattern);

}  // namespace packetdb::host
