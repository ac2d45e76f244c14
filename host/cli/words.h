// The words for protocols and flag bits, for options and output alike.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace packetdb::host {

// "tcp" for 6; the number where there is no word.
std::string ProtocolWord(std::uint8_t protocol);
std::optional<std::uint8_t> ProtocolNumber(std::string_view word);

// The words of the set bits, lowest bit first; a bit without a word is shown as 0x….
std::vector<std::string> FlagWords(std::uint32_t flags);
std::optional<std::uint32_t> FlagBit(std::string_view word);

// All words, separated by commas, for help and errors.
std::string AllProtocolWords();
std::string AllFlagWords();

}  // namespace packetdb::host
