#include "host/rules/conditions.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <string_view>

#include "host/rules/json_fields.h"

namespace packetdb::host {
namespace {

using nlohmann::json;

constexpr const char* kEstablished = "established";

// Expressions that are equal in all packets of a connection that go one way.
struct Selector {
  std::string_view protocol;
  std::string_view field;
};
constexpr std::array kPayloadOfConnection = {
    Selector{"ip", "saddr"},   Selector{"ip", "daddr"},   Selector{"ip", "protocol"},
    Selector{"ip6", "saddr"},  Selector{"ip6", "daddr"},  Selector{"ip6", "nexthdr"},
    Selector{"tcp", "sport"},  Selector{"tcp", "dport"},  Selector{"udp", "sport"},
    Selector{"udp", "dport"},  Selector{"th", "sport"},   Selector{"th", "dport"},
    Selector{"sctp", "sport"}, Selector{"sctp", "dport"}, Selector{"dccp", "sport"},
    Selector{"dccp", "dport"},
};
constexpr std::array<std::string_view, 11> kMetaOfConnection = {
    "iif",     "oif",     "iifname",  "oifname", "iifgroup", "oifgroup",
    "l4proto", "nfproto", "protocol", "skuid",   "skgid"};
constexpr std::array<std::string_view, 5> kWithoutConnections = {"udp", "udplite", "icmp", "icmpv6",
                                                                 "ipv6-icmp"};
constexpr std::array<std::uint64_t, 4> kNumbersWithoutConnections = {1, 17, 58, 136};

template <typename List, typename Value>
bool IsAmong(const List& list, const Value& value) {
  return std::find(list.begin(), list.end(), value) != list.end();
}

// The elements of a value that is one, a list or an anonymous set; null for a named set.
const json& ElementsOf(const json& values) {
  return values.is_object() && values.contains("set") ? Member(values, "set") : values;
}

bool IsConnectionless(const json& protocol) {
  if (protocol.is_string()) {
    return IsAmong(kWithoutConnections, protocol.get_ref<const std::string&>());
  }
  const auto number = NumberIn(protocol, 255);
  return number && IsAmong(kNumbersWithoutConnections, *number);
}

bool AreConnectionless(const json& protocols) {
  const json& elements = ElementsOf(protocols);
  if (!elements.is_array()) return IsConnectionless(elements);
  return std::all_of(elements.begin(), elements.end(), IsConnectionless);
}

bool NamesProtocol(const json& left) {
  return IsText(Member(Member(left, "meta"), "key"), "l4proto") ||
         IsText(Member(Member(left, "payload"), "field"), "protocol") ||
         IsText(Member(Member(left, "payload"), "field"), "nexthdr");
}

bool NamesFamily(const json& left) {
  const std::string key = TextMember(Member(left, "meta"), "key");
  return key == "nfproto" || key == "protocol";
}

// No connection goes to a group or to everybody. A network's broadcast address is not to be told
// from a host's, but most end so.
bool MeansMany(const json& address) {
  if (address.is_object()) return MeansMany(Member(Member(address, "prefix"), "addr"));
  if (!address.is_string()) return false;
  const auto& text = address.get_ref<const std::string&>();
  const long first =
      text.find(':') == std::string::npos ? std::strtol(text.c_str(), nullptr, 10) : 0;
  return (first >= 224 && first <= 239) || text.ends_with(".255") || text.starts_with("ff");
}

bool GoesToMany(const json& left, const json& right) {
  if (!IsText(Member(Member(left, "payload"), "field"), "daddr")) return false;
  const json& elements = ElementsOf(right);
  if (!elements.is_array()) return MeansMany(elements);
  return std::any_of(elements.begin(), elements.end(), MeansMany);
}

void NarrowByState(Scope& scope, const std::string& op, const json& states) {
  const json& listed = ElementsOf(states);
  const bool is_plain = listed.is_string() || listed.is_array();
  // "==" with several bits at once fits no packet; what is not a list of names is not judged.
  if (!is_plain || (listed.is_string() && listed.get_ref<const std::string&>().starts_with('@')) ||
      (op == "==" && states.is_array())) {
    scope.is_partial = true;
    return;
  }
  const bool is_fitting = HasElement(states, kEstablished) == (op != "!=");
  if (!is_fitting) {
    scope.established = Established::kExcluded;
  } else if (scope.established == Established::kUnsaid) {
    scope.established = Established::kIncluded;
  }
}

void NarrowByFields(Scope& scope, const json& left, const json& right) {
  const std::string protocol = TextMember(Member(left, "payload"), "protocol");
  if (!IsOfConnection(left) || GoesToMany(left, right)) scope.is_partial = true;
  if (IsAmong(kWithoutConnections, protocol) || (NamesProtocol(left) && AreConnectionless(right))) {
    scope.is_connectionless = true;
  }
  if (protocol == "ip6" || protocol == "icmpv6" ||
      (NamesFamily(left) && (IsText(right, "ipv6") || IsText(right, "ip6")))) {
    scope.is_ipv6 = true;
  }
}

}  // namespace

bool HasElement(const json& values, const char* text) {
  const json& elements = ElementsOf(values);
  if (!elements.is_array()) return IsText(elements, text);
  return std::any_of(elements.begin(), elements.end(),
                     [text](const json& element) { return IsText(element, text); });
}

bool IsConnectionState(const json& expression) {
  return IsText(Member(Member(expression, "ct"), "key"), "state");
}

bool IsOfConnection(const json& expression) {
  if (const json& parts = Member(expression, "concat"); parts.is_array()) {
    return std::all_of(parts.begin(), parts.end(), IsOfConnection);
  }
  const json& payload = Member(expression, "payload");
  const std::string protocol = TextMember(payload, "protocol");
  const std::string field = TextMember(payload, "field");
  return std::any_of(kPayloadOfConnection.begin(), kPayloadOfConnection.end(),
                     [&](const Selector& selector) {
                       return selector.protocol == protocol && selector.field == field;
                     }) ||
         IsAmong(kMetaOfConnection, TextMember(Member(expression, "meta"), "key"));
}

void AddUnknownCondition(Scope& scope) {
  scope.has_conditions = true;
  scope.is_partial = true;
}

void AddMatch(Scope& scope, const json& match) {
  scope.has_conditions = true;
  const json& left = Member(match, "left");
  const json& right = Member(match, "right");
  const std::string op = TextMember(match, "op");
  if (IsConnectionState(left)) {
    NarrowByState(scope, op, right);
  } else if (op != "!=") {
    NarrowByFields(scope, left, right);
  } else if (!IsOfConnection(left) || NamesProtocol(left)) {
    scope.is_partial = true;  // what is left may be anything but TCP
  }
}

}  // namespace packetdb::host
