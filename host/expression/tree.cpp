#include "host/expression/tree.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "host/sources/event.h"

namespace packetdb::host::expression {
namespace {

Node Joined(Node::Kind kind, std::vector<Node> children) {
  Node joined{kind, {}, {}};
  for (Node& child : children) {
    if (child.kind == kind) {
      std::move(child.children.begin(), child.children.end(), std::back_inserter(joined.children));
    } else {
      joined.children.push_back(std::move(child));
    }
  }
  if (joined.children.size() != 1) return joined;
  Node only = std::move(joined.children.front());
  return only;
}

}  // namespace

Node MakeTerm(Term term) { return {Node::Kind::kTerm, std::move(term), {}}; }

Node Not(Node node) {
  Node negated{Node::Kind::kNot, {}, {}};
  negated.children.push_back(std::move(node));
  return negated;
}

Node And(std::vector<Node> children) { return Joined(Node::Kind::kAnd, std::move(children)); }

Node Or(std::vector<Node> children) { return Joined(Node::Kind::kOr, std::move(children)); }

bool IsEverything(const Node& node) {
  return node.kind == Node::Kind::kAnd && node.children.empty();
}

IntervalSet NumbersOf(const Term& term) {
  std::vector<Interval> all;
  for (const Value& value : term.values) {
    all.insert(all.end(), value.numbers.begin(), value.numbers.end());
  }
  return IntervalSet(std::move(all));
}

std::uint32_t HighestOf(Field field) {
  switch (field) {
    case Field::kPort:
      return 0xFFFF;
    case Field::kProtocol:
    case Field::kIcmpType:
    case Field::kIcmpCode:
      return 0xFF;
    case Field::kRule:
      return kHighestRule;
    case Field::kDirection:
      return kDirectionForward;
    default:
      return 0xFFFFFFFF;
  }
}

bool HasSides(Field field) {
  return field == Field::kAddress || field == Field::kPort || field == Field::kNode;
}

}  // namespace packetdb::host::expression
