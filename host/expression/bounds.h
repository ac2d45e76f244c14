// What every record that satisfies an expression has in common, field by field.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "host/expression/interval_set.h"
#include "host/expression/tree.h"

namespace packetdb::host::expression {

enum Dimension : std::size_t {
  kSourceAddress,
  kDestinationAddress,
  kSourcePort,
  kDestinationPort,
  kSourceNode,
  kDestinationNode,
  kProtocolNumber,
  kEventCode,
};
inline constexpr std::size_t kDimensions = 8;

// A record is within when each of its fields is. `port` and `node` of an expression ask more than
// a field, and so may an expression that joins fields by `or`: then there are records within that
// do not satisfy it.
struct Bounds {
  Bounds();  // all records, and so exact

  std::array<IntervalSet, kDimensions> sets;
  std::uint32_t flags_wanted = 0;    // all set; of the twin bits, both
  std::uint32_t flags_unwanted = 0;  // none set
  bool exact = true;                 // whether the records within are those that satisfy it

  // No record is within.
  bool IsEmpty() const;
  // Whether every record within `other` is within these bounds.
  bool Include(const Bounds& other) const;
  bool SameFlags(const Bounds& other) const;
};

std::uint32_t HighestIn(Dimension dimension);
bool IsUnbounded(const Bounds& bounds, Dimension dimension);

Bounds BoundsOf(const Node& node);
Bounds Both(const Bounds& a, const Bounds& b);

// Where a field of one side is; a field that has sides.
Dimension SourceOf(Field field);
Dimension DestinationOf(Field field);

// What a term about ports or ICMP asks besides them.
Bounds Carrying(const Term& term);

}  // namespace packetdb::host::expression
