#include "host/expression/query_form.h"

#include <bit>
#include <utility>

#include "host/expression/event_groups.h"
#include "host/sources/event.h"

namespace packetdb::host::expression {
namespace {

// The bus carries times in 31 bits; no record is later than this.
constexpr std::int64_t kLatestAsked = 0x7FFFFFFF;

// What these entries of a list of protocols mean.
constexpr unsigned char kOtherProtocols = 255;  // all but the following
constexpr std::uint32_t kNotOther[] = {1, 6, 17};

// A list of codes travels with the query, and is searched for each record.
constexpr std::uint64_t kMostCodes = 256;
constexpr std::uint32_t kHighestCode = 0x7FFFFFFF;  // above it, a number is a group of codes

// A range that nothing is in: a query has no other way to say so.
constexpr std::uint32_t kEmptyFrom = 2;
constexpr std::uint32_t kEmptyTo = 1;

template <class T>
struct Asked {
  T& from;
  T& to;
};

Asked<std::uint32_t> Addresses(Query& query, bool source) {
  if (source) return {query.m_IpSrcFrom, query.m_IpSrcTo};
  return {query.m_IpDstFrom, query.m_IpDstTo};
}

Asked<std::uint16_t> Ports(Query& query, bool source) {
  if (source) return {query.m_PortSrcFrom, query.m_PortSrcTo};
  return {query.m_PortDstFrom, query.m_PortDstTo};
}

void AskEnd(Field field, bool source, const Interval& interval, Query& query) {
  const bool is_one = interval.from == interval.to;
  if (field == Field::kAddress) {
    const auto asked = Addresses(query, source);
    asked.from = interval.from;
    asked.to = is_one ? 0 : interval.to;
  } else if (field == Field::kPort) {
    const auto asked = Ports(query, source);
    asked.from = static_cast<std::uint16_t>(interval.from);
    asked.to = is_one ? std::uint16_t{0} : static_cast<std::uint16_t>(interval.to);
  } else {
    (source ? query.m_IdSrc : query.m_IdDst) = interval.from;
  }
}

void AskEnds(const Bounds& bounds, Query& query) {
  for (const Field field : {Field::kAddress, Field::kPort, Field::kNode}) {
    for (const bool source : {true, false}) {
      const Dimension dimension = source ? SourceOf(field) : DestinationOf(field);
      const Interval hull = bounds.sets[dimension].Hull();
      if (!IsUnbounded(bounds, dimension) && CanAsk(field, hull)) {
        AskEnd(field, source, hull, query);
      }
    }
  }
}

IntervalSet Others() {
  std::vector<Interval> named;
  for (const std::uint32_t number : kNotOther) named.push_back({number, number});
  return IntervalSet(std::move(named)).Without(0xFF);
}

void AskProtocols(const IntervalSet& wanted, Query& query) {
  if (wanted.Size() > 0xFF) return;
  // In a list, 0 and 255 do not mean the protocols of these numbers.
  const bool asks_others = wanted.Contains(0) || wanted.Contains(kOtherProtocols);
  if (!asks_others) {
    for (std::uint32_t number = 1; number < kOtherProtocols; ++number) {
      if (wanted.Contains(number)) query.m_Protocols.push_back(static_cast<unsigned char>(number));
    }
    return;
  }
  query.m_Protocols.push_back(kOtherProtocols);
  for (const std::uint32_t number : kNotOther) {
    if (wanted.Contains(number)) query.m_Protocols.push_back(static_cast<unsigned char>(number));
  }
}

void AskEvents(const IntervalSet& wanted, Query& query) {
  const bool can_ask =
      wanted.Size() <= kMostCodes && wanted.Hull().from != 0 && wanted.Hull().to <= kHighestCode;
  if (!can_ask) return;
  for (const Interval& each : wanted.intervals()) {
    for (std::uint32_t code = each.from; code <= each.to; ++code) {
      query.m_Errcodes.push_back(static_cast<int>(code));
    }
  }
}

IntervalSet AskedRange(std::uint32_t from, std::uint32_t to, std::uint32_t highest) {
  if (to == 0) return from == 0 ? IntervalSet::Everything(highest) : IntervalSet({{from, from}});
  return from <= to ? IntervalSet({{from, to}}) : IntervalSet();
}

IntervalSet AskedProtocols(const Query& query) {
  if (query.m_Protocols.empty()) return IntervalSet::Everything(0xFF);
  IntervalSet asked;
  for (const unsigned char entry : query.m_Protocols) {
    asked = asked.Or(entry == kOtherProtocols ? Others() : IntervalSet({{entry, entry}}));
  }
  return asked;
}

IntervalSet AskedEvents(const Query& query) {
  if (query.m_Errcodes.empty()) return IntervalSet::Everything(0xFFFFFFFF);
  std::vector<Interval> asked;
  for (const int code : query.m_Errcodes) {
    asked.push_back({static_cast<std::uint32_t>(code), static_cast<std::uint32_t>(code)});
  }
  return IntervalSet(std::move(asked));
}

std::vector<Value> ValuesOf(const IntervalSet& set) {
  std::vector<Value> values;
  for (const Interval& each : set.intervals()) values.push_back({{each}, ""});
  return values;
}

Node EndTerm(Field field, Side side, const IntervalSet& set) {
  return MakeTerm({field, side, 0, ValuesOf(set)});
}

// What is asked of the end that the query calls its source, or its destination, of the packet's
// end `side`.
std::vector<Node> EndTerms(const Bounds& asked, bool source, Side side) {
  std::vector<Node> terms;
  for (const Field field : {Field::kAddress, Field::kPort, Field::kNode}) {
    const Dimension dimension = source ? SourceOf(field) : DestinationOf(field);
    if (!IsUnbounded(asked, dimension))
      terms.push_back(EndTerm(field, side, asked.sets[dimension]));
  }
  return terms;
}

Node EndsOneWay(const Bounds& asked, bool swapped) {
  std::vector<Node> terms = EndTerms(asked, true, swapped ? Side::kDestination : Side::kSource);
  for (Node& term : EndTerms(asked, false, swapped ? Side::kSource : Side::kDestination)) {
    terms.push_back(std::move(term));
  }
  return And(std::move(terms));
}

Node EndsOf(const Bounds& asked, bool both_ways) {
  if (!both_ways) return EndsOneWay(asked, false);
  std::vector<Node> first = EndTerms(asked, true, Side::kEither);
  if (first.size() == 1 && EndTerms(asked, false, Side::kEither).empty()) return first.front();
  std::vector<Node> ways;
  ways.push_back(EndsOneWay(asked, false));
  ways.push_back(EndsOneWay(asked, true));
  return Or(std::move(ways));
}

Node NumberTerm(Field field, const IntervalSet& set) {
  // One by one, because each has a name of its own.
  std::vector<Value> values;
  for (const Interval& each : set.intervals()) {
    for (std::uint32_t number = each.from; number <= each.to; ++number) {
      values.push_back({{{number, number}}, ""});
    }
  }
  return MakeTerm({field, Side::kEither, 0, std::move(values)});
}

// Bits 0x800000 and 0x1000000 as one condition, any other bit by itself.
std::vector<std::uint32_t> MasksOf(std::uint32_t flags) {
  constexpr std::uint32_t kTwins = 0x01800000;
  std::vector<std::uint32_t> masks;
  if ((flags & kTwins) != 0) masks.push_back(kTwins);
  for (std::uint32_t rest = flags & ~kTwins; rest != 0; rest &= rest - 1) {
    masks.push_back(1U << static_cast<unsigned int>(std::countr_zero(rest)));
  }
  return masks;
}

Node MaskNode(std::uint32_t mask) {
  return MakeTerm({Field::kFlag, Side::kEither, 0, {{{{mask, mask}}, ""}}});
}

std::vector<Node> FlagTerms(std::uint32_t wanted, std::uint32_t unwanted) {
  std::vector<Node> terms;
  if (((wanted | unwanted) & kRuleMask) == kRuleMask) {
    const std::uint32_t number = (wanted & kRuleMask) >> kRuleShift;
    terms.push_back(MakeTerm({Field::kRule, Side::kEither, 0, {{{{number, number}}, ""}}}));
    wanted &= ~kRuleMask;
    unwanted &= ~kRuleMask;
  }
  for (const std::uint32_t mask : MasksOf(wanted)) terms.push_back(MaskNode(mask));
  for (const std::uint32_t mask : MasksOf(unwanted)) terms.push_back(Not(MaskNode(mask)));
  return terms;
}

}  // namespace

bool CanAsk(Field field, const Interval& interval) {
  // 0 alone means any.
  if (interval.to == 0) return false;
  return field != Field::kNode || interval.from == interval.to;
}

Query CriteriaOf(const Bounds& bounds) {
  Query query;
  query.m_TimeEnd = kLatestAsked;
  if (bounds.IsEmpty()) {
    query.m_IpSrcFrom = kEmptyFrom;
    query.m_IpSrcTo = kEmptyTo;
    return query;
  }
  AskEnds(bounds, query);
  query.m_FlagsWanted = bounds.flags_wanted;
  query.m_FlagsNotWanted = bounds.flags_unwanted;
  AskProtocols(bounds.sets[kProtocolNumber], query);
  AskEvents(bounds.sets[kEventCode], query);
  return query;
}

Bounds BoundsOf(const Query& query) {
  Bounds asked;
  asked.sets[kSourceAddress] = AskedRange(query.m_IpSrcFrom, query.m_IpSrcTo, 0xFFFFFFFF);
  asked.sets[kDestinationAddress] = AskedRange(query.m_IpDstFrom, query.m_IpDstTo, 0xFFFFFFFF);
  asked.sets[kSourcePort] = AskedRange(query.m_PortSrcFrom, query.m_PortSrcTo, 0xFFFF);
  asked.sets[kDestinationPort] = AskedRange(query.m_PortDstFrom, query.m_PortDstTo, 0xFFFF);
  asked.sets[kSourceNode] = AskedRange(query.m_IdSrc, 0, 0xFFFFFFFF);
  asked.sets[kDestinationNode] = AskedRange(query.m_IdDst, 0, 0xFFFFFFFF);
  asked.sets[kProtocolNumber] = AskedProtocols(query);
  asked.sets[kEventCode] = AskedEvents(query);
  asked.flags_wanted = query.m_FlagsWanted;
  asked.flags_unwanted = query.m_FlagsNotWanted;
  return asked;
}

void AskBothWays(Field field, const Interval& first, const std::optional<Interval>& second,
                 Query& query) {
  query.m_Direction = 1;
  AskEnd(field, true, first, query);
  if (second) AskEnd(field, false, *second, query);
}

Node ExpressionOf(const Query& query) {
  const Bounds asked = BoundsOf(query);
  if (asked.IsEmpty()) return Not(And({}));
  std::vector<Node> terms;
  terms.push_back(EndsOf(asked, query.m_Direction == 1));
  // What `port` says anyway, and a query does not.
  Bounds said;
  if (!IsUnbounded(asked, kSourcePort) || !IsUnbounded(asked, kDestinationPort)) {
    said = Carrying({Field::kPort, Side::kEither, 0, {}});
  }
  if (asked.sets[kProtocolNumber] != said.sets[kProtocolNumber]) {
    terms.push_back(
        asked.sets[kProtocolNumber].Includes(Others())
            ? Not(NumberTerm(Field::kProtocol, asked.sets[kProtocolNumber].Without(0xFF)))
            : NumberTerm(Field::kProtocol, asked.sets[kProtocolNumber]));
  }
  if (!IsUnbounded(asked, kEventCode)) {
    terms.push_back(NumberTerm(Field::kEvent, asked.sets[kEventCode]));
  }
  for (Node& term : FlagTerms(asked.flags_wanted, asked.flags_unwanted & ~said.flags_unwanted)) {
    terms.push_back(std::move(term));
  }
  return And(std::move(terms));
}

}  // namespace packetdb::host::expression
