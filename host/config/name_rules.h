// The rules for names of things.
#pragma once

#include <string>
#include <string_view>

#include "host/config/text_keys.h"

namespace packetdb::host {

// host/journals/names.h says what an interface's or a journal's name may be.
TextRule InterfaceName();
TextRule JournalName();
// With * and ?, which an interface's name may hold as well.
TextRule InterfacePatterns();

// Of events and flags: lower-case letters, digits and dashes, a letter first, as long as other
// names may be.
bool IsWord(std::string_view name);
std::string DescribeWord();

}  // namespace packetdb::host
