#include "host/expression/printer.h"

#include <fmt/format.h>

#include "host/config/networks.h"
#include "host/config/protocols.h"
#include "host/expression/grammar.h"
#include "host/expression/lexer.h"
#include "host/expression/numbers.h"

namespace packetdb::host::expression {
namespace {

// Whatever it reads like without quotes, it is a name.
std::string NameText(std::string_view name) {
  const bool is_word = FindWord(name) != nullptr || ParseInterval(name, 0xFFFFFFFF).has_value();
  return Quoted(name, is_word);
}

std::string IntervalText(const Interval& interval) {
  return interval.from == interval.to ? std::to_string(interval.from)
                                      : fmt::format("{}-{}", interval.from, interval.to);
}

std::string AddressText(const Interval& addresses) {
  if (addresses.from == addresses.to) return ShowIpv4(addresses.from);
  if (const auto length = PrefixLength(addresses)) {
    return fmt::format("{}/{}", ShowIpv4(addresses.from), *length);
  }
  return fmt::format("{}-{}", ShowIpv4(addresses.from), ShowIpv4(addresses.to));
}

std::string FlagText(std::uint32_t bits, const Names& names) {
  for (const auto& [name, bit] : names.flags()) {
    // `in` alone is a flag, but before a list it is not.
    if (bit == bits) return name == "in" ? name : NameText(name);
  }
  return fmt::format("{:#x}", bits);
}

std::string DirectionText(std::uint32_t direction) {
  return direction == kDirectionIn ? "in" : direction == kDirectionOut ? "out" : "forward";
}

std::string SingleText(Field field, std::uint32_t number, const Names& names) {
  const std::string* name = nullptr;
  switch (field) {
    case Field::kProtocol:
      return ShowProtocol(static_cast<std::uint8_t>(number));
    case Field::kFlag:
      return FlagText(number, names);
    case Field::kDirection:
      return DirectionText(number);
    case Field::kCount:
    case Field::kBytes:
      return ShowScaled(number);
    case Field::kEvent:
      name = names.Event(number);
      break;
    case Field::kNode:
      name = names.Node(number);
      break;
    default:
      break;
  }
  return name == nullptr ? std::to_string(number) : NameText(*name);
}

std::string ValueText(Field field, const Value& value, const Names& names) {
  if (field == Field::kGroup) return value.text;
  if (!value.text.empty()) return NameText(value.text);
  const Interval& interval = value.numbers.front();
  if (field == Field::kAddress) return AddressText(interval);
  return interval.from == interval.to ? SingleText(field, interval.from, names)
                                      : IntervalText(interval);
}

// Behind the words of a condition with one value: a comparison where the value has one end only.
std::string TestText(const Term& term, const Names& names) {
  const Value& value = term.values.front();
  if (value.text.empty() && WordOf(term.field).compares) {
    const auto& [from, to] = value.numbers.front();
    if (from != to && to == HighestOf(term.field)) {
      return ">= " + SingleText(term.field, from, names);
    }
    if (from != to && from == 0) return "<= " + SingleText(term.field, to, names);
  }
  return ValueText(term.field, value, names);
}

std::string ListText(const Term& term, const Names& names) {
  std::string list;
  for (const Value& value : term.values) {
    list += (list.empty() ? "" : " ") + ValueText(term.field, value, names);
  }
  return fmt::format("in [{}]", list);
}

std::string_view SideText(Side side) {
  switch (side) {
    case Side::kSource:
      return "src ";
    case Side::kDestination:
      return "dst ";
    case Side::kBoth:
      return "src and dst ";
    default:
      return "";
  }
}

// `net` takes no address and no range, but is the word for a network.
std::string_view WordText(const Term& term) {
  if (term.field == Field::kAddress && term.values.size() == 1) {
    const Interval& addresses = term.values.front().numbers.front();
    if (addresses.from != addresses.to && PrefixLength(addresses)) return "net";
  }
  return WordOf(term.field).word;
}

std::string TermText(const Term& term, const Names& names) {
  const std::string transport = term.transport == 0 ? "" : ShowProtocol(term.transport) + " ";
  return fmt::format("{}{}{} {}", transport, SideText(term.side), WordText(term),
                     term.values.size() == 1 ? TestText(term, names) : ListText(term, names));
}

std::string NodeText(const Node& node, const Names& names);

std::string InParentheses(const Node& node, bool needed, const Names& names) {
  const std::string text = NodeText(node, names);
  return needed ? "(" + text + ")" : text;
}

std::string JoinedText(const Node& node, std::string_view join, const Names& names) {
  std::string text;
  for (const Node& child : node.children) {
    const bool looser = node.kind == Node::Kind::kAnd && child.kind == Node::Kind::kOr;
    if (!text.empty()) text += join;
    text += InParentheses(child, looser, names);
  }
  return text;
}

std::string NodeText(const Node& node, const Names& names) {
  if (IsEverything(node)) return "ip";
  switch (node.kind) {
    case Node::Kind::kTerm:
      return TermText(node.term, names);
    case Node::Kind::kNot: {
      const Node& negated = node.children.front();
      const bool is_join = negated.kind == Node::Kind::kAnd || negated.kind == Node::Kind::kOr;
      return "not " + InParentheses(negated, is_join && !IsEverything(negated), names);
    }
    case Node::Kind::kAnd:
      return JoinedText(node, " and ", names);
    default:
      return JoinedText(node, " or ", names);
  }
}

}  // namespace

std::string Print(const Node& node, const Names& names) {
  return IsEverything(node) ? "" : NodeText(node, names);
}

}  // namespace packetdb::host::expression
