#include "host/expression/predicate.h"

#include <algorithm>
#include <utility>

#include "host/intake/glob.h"
#include "host/sources/event.h"

namespace packetdb::host::expression {
namespace {

constexpr std::uint32_t kTwinFlags = 0x00800000 | 0x01000000;

enum Protocol : std::uint8_t { kIcmp = 1, kTcp = 6, kUdp = 17, kSctp = 132 };

bool OfSides(Side side, const IntervalSet& wanted, std::uint32_t source,
             std::uint32_t destination) {
  switch (side) {
    case Side::kSource:
      return wanted.Contains(source);
    case Side::kDestination:
      return wanted.Contains(destination);
    case Side::kBoth:
      return wanted.Contains(source) && wanted.Contains(destination);
    default:
      return wanted.Contains(source) || wanted.Contains(destination);
  }
}

bool IsLaterFragment(const CDrvErrorItemV4& event) {
  return (event.m_Flags & kFlagLaterFragment) != 0;
}

// DCCP and UDP-Lite have ports as well, but `port` is not about them where it comes from.
bool HasPorts(const CDrvErrorItemV4& event, std::uint8_t transport) {
  const std::uint8_t protocol = event.m_Protocol;
  if (IsLaterFragment(event)) return false;
  if (transport != 0) return protocol == transport;
  return protocol == kTcp || protocol == kUdp || protocol == kSctp;
}

bool IsIcmp(const CDrvErrorItemV4& event) {
  return event.m_Protocol == kIcmp && !IsLaterFragment(event);
}

bool HasFlags(std::uint32_t flags, const std::vector<std::uint32_t>& masks) {
  const std::uint32_t effective = EffectiveFlags(flags);
  return std::any_of(masks.begin(), masks.end(),
                     [effective](std::uint32_t mask) { return (effective & mask) == mask; });
}

bool FitsOne(const std::vector<std::string>& patterns, std::string_view name) {
  return std::any_of(patterns.begin(), patterns.end(),
                     [name](const std::string& pattern) { return GlobMatches(pattern, name); });
}

std::uint32_t NumberOf(Field field, const CDrvErrorItemV4& event) {
  switch (field) {
    case Field::kProtocol:
      return event.m_Protocol;
    case Field::kDirection:
      return event.m_Flags & (kFlagIn | kFlagOut);
    case Field::kRule:
      return (event.m_Flags & kRuleMask) >> kRuleShift;
    case Field::kCount:
      return event.m_Count;
    case Field::kBytes:
      return event.m_PacketSize;
    case Field::kIcmpType:
      return static_cast<std::uint32_t>(event.m_Word10) >> 8U;
    case Field::kIcmpCode:
      return event.m_Word10 & 0xFFU;
    default:
      return event.m_ErrorCode;
  }
}

static_assert(kDirectionIn == std::uint32_t{kFlagIn});
static_assert(kDirectionOut == std::uint32_t{kFlagOut});
static_assert(kDirectionForward == (std::uint32_t{kFlagIn} | std::uint32_t{kFlagOut}));

}  // namespace

std::uint32_t EffectiveFlags(std::uint32_t flags) {
  return (flags & kTwinFlags) != 0 ? flags | kTwinFlags : flags;
}

int Predicate::Compile(const Node& node, int if_true, int if_false) {
  if (node.kind == Node::Kind::kTerm) return CompileTerm(node.term, if_true, if_false);
  if (node.kind == Node::Kind::kNot) return Compile(node.children.front(), if_false, if_true);
  // From the last to the first: each has to know where the next one begins.
  const bool is_and = node.kind == Node::Kind::kAnd;
  int next = is_and ? if_true : if_false;
  for (std::size_t left = node.children.size(); left > 0; --left) {
    const Node& child = node.children[left - 1];
    next = is_and ? Compile(child, next, if_false) : Compile(child, if_true, next);
  }
  return next;
}

int Predicate::CompileTerm(const Term& term, int if_true, int if_false) {
  Step step{term.field, term.side, term.transport, NumbersOf(term), {}, {}, if_true, if_false};
  for (const Value& value : term.values) {
    if (term.field == Field::kFlag) step.masks.push_back(value.numbers.front().from);
    if (term.field == Field::kInterface) step.patterns.push_back(value.text);
  }
  steps_.push_back(std::move(step));
  return static_cast<int>(steps_.size()) - 1;
}

bool Predicate::Holds(const Step& step, const Row& row) {
  const CDrvErrorItemV4& event = row.event;
  switch (step.field) {
    case Field::kAddress:
      return OfSides(step.side, step.numbers, event.m_SrcIp, event.m_DstIp);
    case Field::kPort:
      return HasPorts(event, step.transport) &&
             OfSides(step.side, step.numbers, event.m_SrcPort, event.m_DstPort);
    case Field::kNode:
      return OfSides(step.side, step.numbers, event.m_SrcId, event.m_DstId);
    case Field::kFlag:
      return HasFlags(event.m_Flags, step.masks);
    case Field::kInterface:
      return FitsOne(step.patterns, row.interface);
    case Field::kIcmpType:
    case Field::kIcmpCode:
      return IsIcmp(event) && step.numbers.Contains(NumberOf(step.field, event));
    default:
      return step.numbers.Contains(NumberOf(step.field, event));
  }
}

bool Predicate::Matches(const Row& row) const {
  int at = start_;
  while (at >= 0) {
    const Step& step = steps_[static_cast<std::size_t>(at)];
    at = Holds(step, row) ? step.if_true : step.if_false;
  }
  return at == kAccept;
}

}  // namespace packetdb::host::expression
