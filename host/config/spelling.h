// What somebody may have meant.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace packetdb::host {

// How many letters have to be inserted, left out, replaced or swapped with their neighbour to make
// one word of the other.
std::size_t EditDistance(std::string_view a, std::string_view b);

// The nearest of `words`, if it is near enough to be meant: one edit for each three letters.
std::optional<std::string> NearestWord(std::string_view word,
                                       const std::vector<std::string>& words);

}  // namespace packetdb::host
