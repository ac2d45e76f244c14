// An expression made ready for many rows.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "host/expression/tree.h"
#include "host/rows/row.h"

namespace packetdb::host::expression {

// The tree as a program of tests, each of which knows the next one for either outcome: most rows
// need a few of them, and none needs memory.
class Predicate {
 public:
  explicit Predicate(const Node& node) : start_(Compile(node, kAccept, kRefuse)) {}

  // A row whose interface nobody knows is of none: it fits no pattern but *.
  bool Matches(const Row& row) const;

 private:
  static constexpr int kAccept = -1;
  static constexpr int kRefuse = -2;

  struct Step {
    Field field;
    Side side;
    std::uint8_t transport;
    IntervalSet numbers;
    std::vector<std::uint32_t> masks;   // of kFlag
    std::vector<std::string> patterns;  // of kInterface
    int if_true;
    int if_false;
  };

  // Each returns where to begin, having appended what is needed.
  int Compile(const Node& node, int if_true, int if_false);
  int CompileTerm(const Term& term, int if_true, int if_false);
  static bool Holds(const Step& step, const Row& row);

  std::vector<Step> steps_;
  int start_;
};

// Bits 0x800000 and 0x1000000 count as one: queries do not tell them apart.
std::uint32_t EffectiveFlags(std::uint32_t flags);

}  // namespace packetdb::host::expression
