#include "host/expression/values.h"

#include <fmt/format.h>
#include <utility>

#include "host/config/networks.h"
#include "host/config/protocols.h"
#include "host/config/spelling.h"
#include "host/expression/error.h"
#include "host/expression/event_groups.h"
#include "host/expression/numbers.h"
#include "host/intake/glob.h"

namespace packetdb::host::expression {
namespace {

// pcap-filter(7) writes \tcp where tcp would be a word.
std::string_view TextOf(const Token& token) {
  std::string_view text = token.text;
  if (token.kind == Token::Kind::kWord && text.starts_with('\\')) text.remove_prefix(1);
  return text;
}

[[noreturn]] void Refuse(const Token& token, std::string_view what, std::string expected,
                         const std::vector<std::string>& known = {}) {
  throw ExpressionError(token.offset, token.length, fmt::format("'{}' is no {}", token.text, what),
                        std::move(expected), NearestWord(TextOf(token), known).value_or(""));
}

std::vector<std::string> NamesIn(const NameTable& table) {
  std::vector<std::string> names;
  names.reserve(table.size());
  for (const auto& [name, number] : table) names.push_back(name);
  return names;
}

std::vector<std::string> NamesIn(const std::map<std::uint32_t, std::string>& table) {
  std::vector<std::string> names;
  names.reserve(table.size());
  for (const auto& [number, name] : table) names.push_back(name);
  return names;
}

Value Single(std::uint32_t number) { return {{{number, number}}, ""}; }

// In quotes it is a name, even if it looks like a number.
std::optional<Interval> IntervalOf(const Token& token, std::uint32_t highest) {
  if (token.kind == Token::Kind::kQuoted) return std::nullopt;
  return ParseInterval(token.text, highest);
}

Value ReadAddress(const Token& token) {
  const AddressesOrWhy read = ParseAddressRange(TextOf(token));
  if (!read.addresses) {
    const bool is_network = token.text.find('/') != std::string::npos;
    Refuse(token, is_network ? "network" : "IPv4 address",
           "an address, a network such as 10.0.0.0/8 without ones behind its prefix, or "
           "FIRST-LAST");
  }
  return {{{read.addresses->first, read.addresses->last}}, ""};
}

Value ReadNetwork(const Token& token) {
  const auto network = ParseNetworkOrStart(TextOf(token));
  if (!network) {
    Refuse(token, "network", "a network such as 10.0.0.0/8, without ones behind its prefix");
  }
  return {{*network}, ""};
}

Value ReadPlain(const Word& word, const Token& token) {
  const std::uint32_t highest = HighestOf(word.field);
  const auto interval = ParseInterval(TextOf(token), highest);
  if (!interval) {
    Refuse(token, word.word, fmt::format("a number from 0 to {}, or FIRST-LAST", highest));
  }
  return {{*interval}, ""};
}

Value ReadProtocol(const Token& token) {
  if (const auto number = ProtocolByName(TextOf(token))) return Single(*number);
  const auto interval = IntervalOf(token, HighestOf(Field::kProtocol));
  if (!interval) {
    Refuse(token, "protocol", "a number from 0 to 255, or " + ProtocolNames(), AllWords());
  }
  return {{*interval}, ""};
}

Value ReadEvent(const Token& token, const Names& names) {
  if (const auto code = names.EventCode(TextOf(token))) return Single(*code);
  const auto interval = IntervalOf(token, HighestOf(Field::kEvent));
  if (!interval) {
    Refuse(token, "event", "the name of an event, its code, or FIRST-LAST",
           NamesIn(names.events()));
  }
  return {{*interval}, ""};
}

Value ReadGroup(const Token& token) {
  const std::string_view text = TextOf(token);
  const auto number = text.starts_with('-') ? ParseNumber(text.substr(1)) : std::nullopt;
  const bool may_be = number && *number <= static_cast<std::uint32_t>(-kLowestGroup);
  const int group = may_be ? -static_cast<int>(*number) : 0;
  const IntervalSet codes = CodesOfGroup(group);
  if (codes.empty()) Refuse(token, "group of events", "a group such as -3");
  return {codes.intervals(), std::to_string(group)};
}

Value ReadFlag(const Token& token, const Names& names) {
  if (const auto bit = names.FlagBit(TextOf(token))) return Single(*bit);
  const bool is_name = token.kind == Token::Kind::kQuoted;
  const auto bits = is_name ? std::nullopt : ParseNumber(token.text);
  if (!bits || *bits == 0) {
    Refuse(token, "flag", "the name of a flag, or bits such as 0x10", NamesIn(names.flags()));
  }
  return Single(*bits);
}

Value ReadDirection(const Token& token) {
  constexpr std::string_view kDirections[] = {"in", "out", "forward"};
  for (std::uint32_t i = 0; i < std::size(kDirections); ++i) {
    if (TextOf(token) == kDirections[i]) return Single(i + kDirectionIn);
  }
  Refuse(token, "direction", "in, out or forward", {"in", "out", "forward"});
}

Value ReadNode(const Token& token, const Names& names) {
  // Nodes may be called anything, also a number: then in quotes.
  const auto interval = IntervalOf(token, HighestOf(Field::kNode));
  if (interval && interval->from == interval->to) return {{*interval}, ""};
  if (const auto id = names.NodeId(TextOf(token))) return Single(*id);
  Refuse(token, "node", "the name of a node, or its number", NamesIn(names.nodes()));
}

// The numbers of all rules whose prefix fits. A number stands for one prefix at all times.
Value ReadRule(const Token& token, const Names& names) {
  const auto number = IntervalOf(token, HighestOf(Field::kRule));
  if (number && number->from == number->to) return {{*number}, ""};
  std::vector<Interval> found;
  std::vector<std::string> known;
  for (const RuleEntry& entry : names.rules().entries()) {
    known.push_back(entry.prefix);
    if (GlobMatches(TextOf(token), entry.prefix)) found.push_back({entry.number, entry.number});
  }
  if (found.empty()) {
    Refuse(token, "rule that was ever logged", "a rule's prefix, or its number from 0 to 16383",
           known);
  }
  return {IntervalSet(std::move(found)).intervals(), std::string(TextOf(token))};
}

Value ReadInterface(const Token& token) {
  if (TextOf(token).empty()) Refuse(token, "interface", "the name of an interface");
  return {{}, std::string(TextOf(token))};
}

Value ReadAmount(const Token& token) {
  const auto amount = ParseScaled(TextOf(token));
  if (!amount) Refuse(token, "number", "a number from 0 to 4294967295, k, M or G behind it");
  return Single(*amount);
}

}  // namespace

Value ReadValue(const Word& word, const Token& token, const Names& names) {
  switch (word.field) {
    case Field::kAddress:
      return word.word == "net" ? ReadNetwork(token) : ReadAddress(token);
    case Field::kProtocol:
      return ReadProtocol(token);
    case Field::kNode:
      return ReadNode(token, names);
    case Field::kEvent:
      return ReadEvent(token, names);
    case Field::kGroup:
      return ReadGroup(token);
    case Field::kFlag:
      return ReadFlag(token, names);
    case Field::kDirection:
      return ReadDirection(token);
    case Field::kRule:
      return ReadRule(token, names);
    case Field::kInterface:
      return ReadInterface(token);
    case Field::kCount:
    case Field::kBytes:
      return ReadAmount(token);
    default:
      return ReadPlain(word, token);
  }
}

Value ReadBound(const Word& word, std::string_view mark, const Token& token, const Names& names) {
  const Interval value = ReadValue(word, token, names).numbers.front();
  const std::uint32_t highest = HighestOf(word.field);
  if (value.from != value.to)
    Refuse(token, "single number", "one number behind " + std::string(mark));
  const bool leaves_none = (mark == "<" && value.from == 0) || (mark == ">" && value.to == highest);
  if (leaves_none) {
    throw ExpressionError(token.offset, token.length,
                          fmt::format("nothing is {} {}", mark, token.text),
                          fmt::format("a number from {} to {}", mark == "<" ? 1 : 0,
                                      mark == "<" ? highest : highest - 1));
  }
  if (mark == "<") return {{{0, value.to - 1}}, ""};
  if (mark == "<=") return {{{0, value.to}}, ""};
  if (mark == ">") return {{{value.from + 1, highest}}, ""};
  return {{{value.from, highest}}, ""};
}

Value ReadMasked(const Token& address, const Token& mask) {
  const auto network = ParseMasked(TextOf(address), TextOf(mask));
  if (!network) {
    Refuse(mask, "mask of this network",
           "a mask such as 255.0.0.0 that covers all ones of the address");
  }
  return {{*network}, ""};
}

bool IsPlainlyValue(const Token& token) {
  if (token.kind == Token::Kind::kQuoted) return true;
  const bool begins_so = !token.text.empty() && ((token.text[0] >= '0' && token.text[0] <= '9') ||
                                                 token.text[0] == '\\' || token.text[0] == '-');
  return token.kind == Token::Kind::kWord && begins_so;
}

}  // namespace packetdb::host::expression
