// From the options of `packetdb query` to a query.
#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "packetdb/query.h"

namespace packetdb::host {

// What the options hold; an empty text was not given.
struct Criteria {
  std::string name;
  std::string since;
  std::string until;
  std::string limit;
  std::string src;
  std::string dst;
  std::string src_port;
  std::string dst_port;
  std::string src_node;
  std::string dst_node;
  std::string protocols;
  std::string events;
  std::string flags;
  std::string not_flags;
  bool both_directions = false;
};

struct CriterionOption {
  const char* names;
  std::string Criteria::*text;
  const char* value;
  const char* help;
};

// The options that take a value.
std::span<const CriterionOption> CriterionOptions();

// Throws UsageError for the first text that makes no sense. `now` is in Unix seconds.
Query MakeQuery(const Criteria& criteria, std::int64_t now);

}  // namespace packetdb::host
