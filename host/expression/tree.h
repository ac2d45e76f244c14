// What an expression says, once read: conditions, and how they are joined.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "host/expression/interval_set.h"

namespace packetdb::host::expression {

// What of a record a condition looks at.
enum class Field {
  kAddress,
  kPort,  // of TCP, UDP and SCTP, and not of later fragments, which carry none
  kProtocol,
  kNode,
  kEvent,      // event code
  kGroup,      // event code; values are groups of codes
  kFlag,       // a value is a mask of bits, all of which have to be set
  kDirection,  // Direction
  kRule,       // number of the rule
  kInterface,
  kCount,
  kBytes,
  kIcmpType,  // of ICMP, and not of later fragments
  kIcmpCode,
};

// Of the ends of a packet, for the fields that each end has.
enum class Side { kEither, kSource, kDestination, kBoth };

enum Direction : std::uint32_t { kDirectionIn = 1, kDirectionOut = 2, kDirectionForward = 3 };

struct Value {
  std::vector<Interval> numbers;
  std::string text;  // a pattern, or what the numbers were called; may be empty

  bool operator==(const Value&) const = default;
};

// Holds when the field has one of the values.
struct Term {
  Field field = Field::kAddress;
  Side side = Side::kEither;
  std::uint8_t transport = 0;  // ports of this protocol only; 0 for all that have ports
  std::vector<Value> values;

  bool operator==(const Term&) const = default;
};

struct Node {
  enum class Kind { kTerm, kNot, kAnd, kOr };

  Kind kind = Kind::kAnd;  // without children: everything matches
  Term term;               // of kTerm
  std::vector<Node> children;

  bool operator==(const Node&) const = default;
};

Node MakeTerm(Term term);
Node Not(Node node);
// One that would hold others of its kind takes their children instead, and of one child nothing
// but the child is left: what means the same because of that is equal.
Node And(std::vector<Node> children);
// Of one child or more.
Node Or(std::vector<Node> children);

bool IsEverything(const Node& node);

// All numbers of a term together.
IntervalSet NumbersOf(const Term& term);

// The largest value of a field that holds numbers.
std::uint32_t HighestOf(Field field);
// Whether each end of a packet has one.
bool HasSides(Field field);

}  // namespace packetdb::host::expression
