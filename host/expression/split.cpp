#include "host/expression/split.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <utility>

#include "host/expression/bounds.h"
#include "host/expression/predicate.h"
#include "host/expression/query_form.h"

namespace packetdb::host::expression {
namespace {

std::vector<Node> ConjunctsOf(const Node& node) {
  return node.kind == Node::Kind::kAnd ? node.children : std::vector<Node>{node};
}

bool LooksAtInterface(const Node& node) {
  if (node.kind == Node::Kind::kTerm) return node.term.field == Field::kInterface;
  return std::any_of(node.children.begin(), node.children.end(), LooksAtInterface);
}

bool LooksAtNothingElse(const Node& node) {
  if (node.kind == Node::Kind::kTerm) return node.term.field == Field::kInterface;
  return !node.children.empty() &&
         std::all_of(node.children.begin(), node.children.end(), LooksAtNothingElse);
}

// A condition that one end or the other has to satisfy: `host a`, or `host a or host b`.
struct EitherEnd {
  Field field;
  IntervalSet numbers;
  Bounds carrying;  // what it asks besides
};

std::optional<EitherEnd> EitherEndOf(const Node& node) {
  if (node.kind == Node::Kind::kTerm) {
    const Term& term = node.term;
    if (!HasSides(term.field) || term.side != Side::kEither) return std::nullopt;
    return EitherEnd{term.field, NumbersOf(term), Carrying(term)};
  }
  if (node.kind != Node::Kind::kOr) return std::nullopt;
  std::optional<EitherEnd> all;
  for (const Node& child : node.children) {
    auto one = EitherEndOf(child);
    if (!one) return std::nullopt;
    if (!all) {
      all = std::move(one);
    } else if (all->field == one->field && all->carrying.Include(one->carrying) &&
               one->carrying.Include(all->carrying)) {
      all->numbers = all->numbers.Or(one->numbers);
    } else {
      return std::nullopt;
    }
  }
  return all;
}

std::vector<EitherEnd> EitherEndsOf(const std::vector<Node>& conjuncts) {
  std::vector<EitherEnd> ends;
  for (const Node& conjunct : conjuncts) {
    if (auto end = EitherEndOf(conjunct)) ends.push_back(std::move(*end));
  }
  return ends;
}

// Where the one end cannot satisfy it, the other has to.
bool NarrowBy(const EitherEnd& end, Bounds& bounds) {
  IntervalSet& source = bounds.sets[SourceOf(end.field)];
  IntervalSet& destination = bounds.sets[DestinationOf(end.field)];
  const bool is_of_source = destination.And(end.numbers).empty();
  if (!is_of_source && !source.And(end.numbers).empty()) return false;
  IntervalSet& narrowed = is_of_source ? source : destination;
  IntervalSet fewer = narrowed.And(end.numbers);
  const bool changed = fewer != narrowed;
  narrowed = std::move(fewer);
  return changed;
}

Bounds CommonBounds(const std::vector<Node>& conjuncts, const std::vector<EitherEnd>& ends) {
  constexpr int kMostRounds = 8;  // each may decide the next; more of them gain nothing
  Bounds common;
  for (const Node& conjunct : conjuncts) common = Both(common, BoundsOf(conjunct));
  bool changed = true;
  for (int round = 0; changed && round < kMostRounds; ++round) {
    changed = false;
    for (const EitherEnd& end : ends) changed = NarrowBy(end, common) || changed;
  }
  return common;
}

bool AsksOfEnds(const Bounds& asked) {
  for (const Field field : {Field::kAddress, Field::kPort, Field::kNode}) {
    if (!IsUnbounded(asked, SourceOf(field)) || !IsUnbounded(asked, DestinationOf(field))) {
      return true;
    }
  }
  return false;
}

// The hulls of all ends of a field that a query can ask for, the narrowest first.
std::vector<Interval> HullsOf(Field field, const std::vector<EitherEnd>& ends) {
  std::vector<Interval> hulls;
  for (const EitherEnd& end : ends) {
    const bool is_any = end.numbers.Size() > HighestOf(field);
    if (end.field == field && !is_any && CanAsk(field, end.numbers.Hull())) {
      hulls.push_back(end.numbers.Hull());
    }
  }
  std::stable_sort(hulls.begin(), hulls.end(), [](const Interval& a, const Interval& b) {
    return a.to - a.from < b.to - b.from;
  });
  return hulls;
}

// A query that swaps its ends swaps all that is asked of them. So it asks for one field only:
// of `host a and port 53` it may be the source that has the address, and the destination the port.
void AskEitherEnd(const std::vector<EitherEnd>& ends, Query& query) {
  for (const Field field : {Field::kAddress, Field::kNode, Field::kPort}) {
    const std::vector<Interval> hulls = HullsOf(field, ends);
    if (hulls.empty()) continue;
    const Interval& first = hulls.front();
    // One end cannot be in both, so each is in one.
    const auto second = std::find_if(hulls.begin(), hulls.end(), [&](const Interval& each) {
      return each.from > first.to || each.to < first.from;
    });
    AskBothWays(field, first, second == hulls.end() ? std::nullopt : std::optional(*second), query);
    return;
  }
}

// What a query lets pass: the records within `common`, and of these, when it asks both ways, those
// of which one end is within `one` and the other within `other`.
struct Passing {
  Bounds common;
  std::optional<Bounds> either;
};

Passing PassingOf(const Query& query) {
  Passing passing{BoundsOf(query), std::nullopt};
  if (query.m_Direction != 1) return passing;
  passing.either = passing.common;
  const Bounds any;
  for (const Dimension dimension : {kSourceAddress, kDestinationAddress, kSourcePort,
                                    kDestinationPort, kSourceNode, kDestinationNode}) {
    passing.common.sets[dimension] = any.sets[dimension];
  }
  return passing;
}

bool IsImplied(const Node& node, const Passing& passing) {
  const Bounds bounds = BoundsOf(node);
  if (bounds.exact && bounds.Include(passing.common)) return true;
  if (const auto end = EitherEndOf(node)) {
    const Bounds& ends = passing.either ? *passing.either : passing.common;
    return end->carrying.Include(passing.common) &&
           (end->numbers.Includes(ends.sets[SourceOf(end->field)]) ||
            end->numbers.Includes(ends.sets[DestinationOf(end->field)]));
  }
  return node.kind == Node::Kind::kOr &&
         std::any_of(node.children.begin(), node.children.end(),
                     [&](const Node& child) { return IsImplied(child, passing); });
}

// A pattern that stands alone is told to whoever asks for each interface by its name.
std::vector<std::string> PatternsOf(const Node& interfaces) {
  std::vector<std::string> patterns;
  for (const Node& conjunct : ConjunctsOf(interfaces)) {
    if (conjunct.kind != Node::Kind::kTerm) continue;
    for (const Value& value : conjunct.term.values) patterns.push_back(value.text);
    break;
  }
  return patterns;
}

// Takes the conditions about interfaces out of the others.
Node TakeInterfaces(std::vector<Node>& conjuncts) {
  std::vector<Node> interfaces;
  const auto others = std::stable_partition(conjuncts.begin(), conjuncts.end(), LooksAtNothingElse);
  std::move(conjuncts.begin(), others, std::back_inserter(interfaces));
  conjuncts.erase(conjuncts.begin(), others);
  return And(std::move(interfaces));
}

}  // namespace

bool Division::WantsInterface(std::string_view name) const {
  return Predicate(interfaces).Matches({{}, name});
}

Division Split(const Node& expression) {
  Division division;
  std::vector<Node> conjuncts = ConjunctsOf(expression);
  division.interfaces = TakeInterfaces(conjuncts);
  division.interface_patterns = PatternsOf(division.interfaces);
  const std::vector<EitherEnd> ends = EitherEndsOf(conjuncts);
  const Bounds common = CommonBounds(conjuncts, ends);
  division.never = common.IsEmpty();
  division.query = CriteriaOf(common);
  if (division.never) {
    division.asked = ExpressionOf(division.query);
    return division;
  }
  if (!AsksOfEnds(BoundsOf(division.query))) AskEitherEnd(ends, division.query);
  const Passing passing = PassingOf(division.query);
  std::vector<Node> rest;
  for (const Node& conjunct : conjuncts) {
    if (!IsImplied(conjunct, passing)) rest.push_back(conjunct);
  }
  // In its own words, where the daemon tests all of it.
  division.asked = rest.empty() ? And(std::move(conjuncts)) : ExpressionOf(division.query);
  division.rest = And(std::move(rest));
  division.rest_needs_interface = LooksAtInterface(division.rest);
  return division;
}

}  // namespace packetdb::host::expression
