// What of an expression the daemon can test, and what is left for whoever asked.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "host/expression/tree.h"
#include "packetdb/query.h"

namespace packetdb::host::expression {

// A record satisfies the expression exactly if `query` matches it, it is of an interface that is
// wanted, and it satisfies `rest`.
struct Division {
  // Criteria alone: journal and limit are not set, and the times let everything pass. A limit may
  // only go with it when IsEverything(rest), as it would count records that `rest` refuses.
  Query query;
  Node asked;       // what `query` says, as an expression
  Node rest;        // what is to be tested where the answer arrives
  Node interfaces;  // conditions that look at nothing but the interface
  // When not empty: only names that fit one of these patterns are wanted.
  std::vector<std::string> interface_patterns;
  // `rest` looks at the interface too: each row has to know its own.
  bool rest_needs_interface = false;
  bool never = false;  // nothing can satisfy the expression; `query` matches nothing

  bool WantsInterface(std::string_view name) const;
};

Division Split(const Node& expression);

}  // namespace packetdb::host::expression
