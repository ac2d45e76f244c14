#include "host/cli/words.h"

#include <fmt/format.h>
#include <iterator>

#include "host/config/protocols.h"
#include "host/sources/event.h"

namespace packetdb::host {

namespace {

template <class Value>
struct Word {
  std::string_view text;
  Value value;
};

constexpr Word<std::uint32_t> kFlags[] = {
    {"in", kFlagIn},           {"out", kFlagOut},           {"accepted", kFlagAccepted},
    {"dropped", kFlagDropped}, {"rejected", kFlagRejected}, {"fragment", kFlagLaterFragment},
};

template <class Value, std::size_t kSize>
std::optional<Value> Find(const Word<Value> (&words)[kSize], std::string_view text) {
  for (const auto& word : words) {
    if (word.text == text) {
      return word.value;
    }
  }
  return std::nullopt;
}

template <class Value, std::size_t kSize>
std::string Joined(const Word<Value> (&words)[kSize]) {
  std::string all;
  for (const auto& word : words) {
    fmt::format_to(std::back_inserter(all), "{}{}", all.empty() ? "" : ", ", word.text);
  }
  return all;
}

std::string FlagWord(std::uint32_t bit) {
  for (const auto& word : kFlags) {
    if (word.value == bit) {
      return std::string(word.text);
    }
  }
  return fmt::format("0x{:x}", bit);
}

}  // namespace

std::string ProtocolWord(std::uint8_t protocol) { return ShowProtocol(protocol); }

std::optional<std::uint8_t> ProtocolNumber(std::string_view word) { return ProtocolByName(word); }

std::vector<std::string> FlagWords(std::uint32_t flags) {
  std::vector<std::string> words;
  while (flags != 0) {
    const std::uint32_t lowest = flags & (~flags + 1);
    words.push_back(FlagWord(lowest));
    flags ^= lowest;
  }
  return words;
}

std::optional<std::uint32_t> FlagBit(std::string_view word) { return Find(kFlags, word); }

std::string AllProtocolWords() { return ProtocolNames(); }

std::string AllFlagWords() { return Joined(kFlags); }

}  // namespace packetdb::host
