// What `packetdb blocked` tells: what was dropped or rejected, and by which rule.
#pragma once

#include <cstdio>

#include "host/names/names.h"
#include "host/printing/options.h"
#include "host/summary/groups.h"

namespace packetdb::host {

struct BlockedOptions {
  SumKind sort = SumKind::kCount;
  std::size_t most = 100;             // groups that are printed, and kept for that
  std::size_t most_keys = kMostKeys;  // groups in memory; see Groups
};

// Groups are what one source was refused at one port by one rule, wherever it wanted to go: who
// looks through a network is one line.
class Blocked {
 public:
  explicit Blocked(const BlockedOptions& options);

  // Passes over rows that were neither dropped nor rejected. Throws SummaryError.
  void Add(const Row& row);
  // As that of Top.
  void Print(const PrintOptions& options, const Names& names, std::FILE* out);

 private:
  BlockedOptions options_;
  Groups groups_;
};

}  // namespace packetdb::host
