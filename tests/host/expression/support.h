// Rows and names to try expressions on.
#pragma once

#include <cstdint>
#include <random>
#include <string>

#include "host/expression/parser.h"
#include "host/expression/tree.h"
#include "host/names/names.h"
#include "host/rows/row.h"

namespace packetdb::host::expression::test {

using packetdb::host::Names;
using packetdb::host::Row;

// With nodes, flags and rules besides the names that hold anyway.
const Names& TestNames();

// A row about which a test says what it is about.
class RowMaker {
 public:
  RowMaker& From(const char* address, std::uint16_t port = 0);
  RowMaker& To(const char* address, std::uint16_t port = 0);
  RowMaker& Protocol(std::uint8_t number);
  RowMaker& Flags(std::uint32_t flags);
  RowMaker& Code(std::uint32_t code);
  RowMaker& Nodes(std::uint32_t source, std::uint32_t destination);
  RowMaker& Icmp(std::uint8_t type, std::uint8_t code);
  RowMaker& Sums(std::uint32_t count, std::uint32_t bytes);
  RowMaker& On(const char* interface);

  const Row& row() const { return row_; }

 private:
  Row row_;
};

// From 10.0.0.1 port 40000 to 10.0.0.2 port 22, by TCP.
RowMaker Ssh();

bool Matches(const std::string& expression, const RowMaker& maker);
bool Matches(const Node& node, const Row& row);

// Of few values, so that conditions and rows often meet.
using Random = std::mt19937;
Node RandomTree(Random& random, int depth);
Row RandomRow(Random& random);

}  // namespace packetdb::host::expression::test
