#include "host/expression/bounds.h"

#include <algorithm>
#include <bit>
#include <utility>

#include "host/expression/predicate.h"
#include "host/sources/event.h"

namespace packetdb::host::expression {
namespace {

IntervalSet Exactly(std::uint32_t number) { return IntervalSet({{number, number}}); }

// The flags that all of some values have in common. `exact` when no others have them.
class CommonFlags {
 public:
  void Add(std::uint32_t wanted, std::uint32_t unwanted) {
    wanted_ &= wanted;
    unwanted_ &= unwanted;
    ++count_;
  }
  // Of values that are told apart by the bits of `mask`.
  Bounds Over(std::uint32_t mask) const {
    Bounds bounds = Inexact();
    const int free_bits = std::popcount(mask & ~(wanted_ | unwanted_));
    bounds.exact = count_ == std::uint64_t{1} << static_cast<unsigned int>(free_bits);
    return bounds;
  }
  Bounds Inexact() const {
    Bounds bounds;
    bounds.flags_wanted = wanted_;
    bounds.flags_unwanted = unwanted_;
    bounds.exact = count_ == 1;
    return bounds;
  }

 private:
  std::uint32_t wanted_ = 0xFFFFFFFF;
  std::uint32_t unwanted_ = 0xFFFFFFFF;
  std::uint64_t count_ = 0;
};

Bounds OfFlags(const Term& term) {
  CommonFlags common;
  for (const Value& value : term.values) {
    common.Add(EffectiveFlags(value.numbers.front().from), 0);
  }
  return common.Inexact();
}

// A number that lies in some bits of the flags.
Bounds OfNumberInFlags(const Term& term, std::uint32_t mask, std::uint32_t shift) {
  CommonFlags common;
  const IntervalSet numbers = NumbersOf(term);
  for (const Interval& each : numbers.intervals()) {
    for (std::uint32_t number = each.from; number <= each.to; ++number) {
      common.Add(number << shift, mask & ~(number << shift));
    }
  }
  return common.Over(mask);
}

Bounds OfSides(const Term& term) {
  Bounds bounds = Carrying(term);
  const IntervalSet numbers = NumbersOf(term);
  if (term.side != Side::kDestination && term.side != Side::kEither) {
    bounds.sets[SourceOf(term.field)] = numbers;
  }
  if (term.side != Side::kSource && term.side != Side::kEither) {
    bounds.sets[DestinationOf(term.field)] = numbers;
  }
  bounds.exact = term.side != Side::kEither || numbers.Size() > HighestOf(term.field);
  return bounds;
}

Bounds OfNumber(const Term& term, Dimension dimension) {
  Bounds bounds;
  bounds.sets[dimension] = NumbersOf(term);
  return bounds;
}

Bounds Unknown() {
  Bounds bounds;
  bounds.exact = false;
  return bounds;
}

Bounds OfTerm(const Term& term) {
  switch (term.field) {
    case Field::kAddress:
    case Field::kPort:
    case Field::kNode:
      return OfSides(term);
    case Field::kProtocol:
      return OfNumber(term, kProtocolNumber);
    case Field::kEvent:
    case Field::kGroup:
      return OfNumber(term, kEventCode);
    case Field::kFlag:
      return OfFlags(term);
    case Field::kDirection:
      return OfNumberInFlags(term, kFlagIn | kFlagOut, 0);
    case Field::kRule:
      return OfNumberInFlags(term, kRuleMask, kRuleShift);
    case Field::kIcmpType:
    case Field::kIcmpCode: {
      Bounds bounds = Carrying(term);
      bounds.exact = false;
      return bounds;
    }
    default:
      return Unknown();
  }
}

// Neither end has one of the numbers, or the one end has not.
Bounds OfOtherSides(const Term& term) {
  Bounds bounds;
  const IntervalSet others = NumbersOf(term).Without(HighestOf(term.field));
  if (term.side == Side::kSource || term.side == Side::kEither) {
    bounds.sets[SourceOf(term.field)] = others;
  }
  if (term.side == Side::kDestination || term.side == Side::kEither) {
    bounds.sets[DestinationOf(term.field)] = others;
  }
  bounds.exact = term.side != Side::kBoth;
  return bounds;
}

Bounds OfOtherFlags(const Term& term) {
  Bounds bounds;
  for (const Value& value : term.values) {
    const std::uint32_t mask = EffectiveFlags(value.numbers.front().from);
    const bool counts_as_one = std::has_single_bit(mask) || mask == EffectiveFlags(0x00800000);
    if (counts_as_one) {
      bounds.flags_unwanted |= mask;
    } else {
      bounds.exact = false;
    }
  }
  return bounds;
}

Bounds OfNegatedTerm(const Term& term) {
  switch (term.field) {
    case Field::kAddress:
    case Field::kNode:
      return OfOtherSides(term);
    case Field::kProtocol:
    case Field::kEvent:
    case Field::kGroup: {
      const Dimension dimension = term.field == Field::kProtocol ? kProtocolNumber : kEventCode;
      Bounds bounds;
      bounds.sets[dimension] = NumbersOf(term).Without(HighestIn(dimension));
      return bounds;
    }
    case Field::kFlag:
      return OfOtherFlags(term);
    default:
      return Unknown();
  }
}

// How many of the dimensions, the flags counting as one, differ.
int Differing(const Bounds& a, const Bounds& b) {
  int differing = a.SameFlags(b) ? 0 : 1;
  for (std::size_t i = 0; i < kDimensions; ++i) differing += a.sets[i] == b.sets[i] ? 0 : 1;
  return differing;
}

Bounds Either(const Bounds& a, const Bounds& b) {
  if (a.IsEmpty()) return b;
  if (b.IsEmpty()) return a;
  if (a.exact && a.Include(b)) return a;
  if (b.exact && b.Include(a)) return b;
  Bounds either;
  for (std::size_t i = 0; i < kDimensions; ++i) either.sets[i] = a.sets[i].Or(b.sets[i]);
  either.flags_wanted = a.flags_wanted & b.flags_wanted;
  either.flags_unwanted = a.flags_unwanted & b.flags_unwanted;
  // Side by side in one dimension, nothing comes in between that neither has.
  either.exact = a.exact && b.exact && Differing(a, b) <= 1 && a.SameFlags(b);
  return either;
}

Bounds Find(const Node& node, bool negated) {
  if (node.kind == Node::Kind::kTerm) return negated ? OfNegatedTerm(node.term) : OfTerm(node.term);
  if (node.kind == Node::Kind::kNot) return Find(node.children.front(), !negated);
  const bool is_and = (node.kind == Node::Kind::kAnd) != negated;
  Bounds joined;
  if (!is_and) joined.sets[kProtocolNumber] = {};  // nothing yet
  for (const Node& child : node.children) {
    const Bounds bounds = Find(child, negated);
    joined = is_and ? Both(joined, bounds) : Either(joined, bounds);
  }
  return joined;
}

}  // namespace

Bounds::Bounds() {
  for (std::size_t i = 0; i < kDimensions; ++i) {
    sets[i] = IntervalSet::Everything(HighestIn(static_cast<Dimension>(i)));
  }
}

bool Bounds::IsEmpty() const {
  return (flags_wanted & flags_unwanted) != 0 ||
         std::any_of(sets.begin(), sets.end(), [](const IntervalSet& set) { return set.empty(); });
}

bool Bounds::Include(const Bounds& other) const {
  if ((flags_wanted & ~other.flags_wanted) != 0) return false;
  if ((flags_unwanted & ~other.flags_unwanted) != 0) return false;
  for (std::size_t i = 0; i < kDimensions; ++i) {
    if (!sets[i].Includes(other.sets[i])) return false;
  }
  return true;
}

bool Bounds::SameFlags(const Bounds& other) const {
  return flags_wanted == other.flags_wanted && flags_unwanted == other.flags_unwanted;
}

std::uint32_t HighestIn(Dimension dimension) {
  if (dimension == kProtocolNumber) return 0xFF;
  return dimension == kSourcePort || dimension == kDestinationPort ? 0xFFFF : 0xFFFFFFFF;
}

bool IsUnbounded(const Bounds& bounds, Dimension dimension) {
  return bounds.sets[dimension].Size() > HighestIn(dimension);
}

Bounds BoundsOf(const Node& node) { return Find(node, false); }

Bounds Both(const Bounds& a, const Bounds& b) {
  Bounds both;
  for (std::size_t i = 0; i < kDimensions; ++i) both.sets[i] = a.sets[i].And(b.sets[i]);
  both.flags_wanted = a.flags_wanted | b.flags_wanted;
  both.flags_unwanted = a.flags_unwanted | b.flags_unwanted;
  both.exact = a.exact && b.exact;
  return both;
}

Dimension SourceOf(Field field) {
  if (field == Field::kPort) return kSourcePort;
  return field == Field::kNode ? kSourceNode : kSourceAddress;
}

Dimension DestinationOf(Field field) { return static_cast<Dimension>(SourceOf(field) + 1); }

Bounds Carrying(const Term& term) {
  Bounds bounds;
  const bool is_icmp = term.field == Field::kIcmpType || term.field == Field::kIcmpCode;
  if (term.field != Field::kPort && !is_icmp) return bounds;
  bounds.flags_unwanted = kFlagLaterFragment;
  if (is_icmp) {
    bounds.sets[kProtocolNumber] = Exactly(1);
  } else if (term.transport != 0) {
    bounds.sets[kProtocolNumber] = Exactly(term.transport);
  } else {
    bounds.sets[kProtocolNumber] = IntervalSet({{6, 6}, {17, 17}, {132, 132}});
  }
  return bounds;
}

}  // namespace packetdb::host::expression
