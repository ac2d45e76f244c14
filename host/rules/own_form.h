// Prefixes of our own form, pdb:<chain>:<rule>:<verdict>[:<code>] (host/sources/prefix.h), for
// whoever writes them.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "host/sources/prefix.h"

namespace packetdb::host {

// Whether it starts as our own form does, or would but for blanks in front and capital letters.
bool LooksLikeOwnForm(std::string_view prefix);

// The verdict of a prefix that follows our own form; none for any other.
std::optional<Verdict> OwnFormVerdict(std::string_view prefix);

// What is wrong with a prefix that looks like our own form and does not follow it: "the verdict is
// 'droped', and not accept, drop or reject". Empty for one that follows it.
std::string OwnFormMistake(std::string_view prefix);

// "drop"
std::string_view VerdictWord(Verdict verdict);

}  // namespace packetdb::host
