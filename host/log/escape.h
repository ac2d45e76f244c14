// Makes any text safe to stand in one log line.
#pragma once

#include <string>
#include <string_view>

namespace packetdb::host {

// Control characters and bytes that are no UTF-8 as \xNN, backslashes doubled, so that the text can
// be told from what is escaped; everything else as it is. Text beyond kLongestLogText bytes is cut,
// and says so.
std::string EscapeForLog(std::string_view text);

inline constexpr std::size_t kLongestLogText = 8192;

}  // namespace packetdb::host
