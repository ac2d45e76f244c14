// Values as a TOML file has them, for messages and for files that we write.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "host/config/document.h"

namespace packetdb::host {

// The text with control characters as TOML escapes them, so that it is one line.
std::string WithoutControl(std::string_view text);
// The text between double quotes, with what TOML wants escaped.
std::string Quoted(std::string_view text);
// ["a", "b"]
std::string QuotedList(const std::vector<std::string>& texts);

// What somebody wrote, cut to a length that fits a line: 12, "text", a table.
std::string Written(const Node& node);

}  // namespace packetdb::host
