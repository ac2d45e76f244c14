// Names come from packet filters, interfaces and people: any bytes. Here they become text that does
// nothing to a terminal but stand there.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace packetdb::host {

// Appends a text with tabs, line feeds and backslashes as \t, \n and \\, and other control
// characters, marks that turn the direction of writing, and bytes that are no UTF-8 as \xNN each.
void AppendSafe(std::string_view text, std::string* out);

// Appends a string of JSON with its quotes. The same characters become \uNNNN; bytes that are no
// UTF-8 become U+FFFD.
void AppendJsonString(std::string_view text, std::string* out);

// Characters of a safe text, each of which takes one column of a terminal.
std::size_t WidthOf(std::string_view text);

// At most `width` columns of a safe text, the last of them '…' when it does not fit. At least 1.
std::string CutTo(std::size_t width, const std::string& text);

}  // namespace packetdb::host
