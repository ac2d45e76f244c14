// What `packetdb group-by` tells: all groups of rows, in the order of their keys.
#pragma once

#include <cstdio>

#include "host/names/names.h"
#include "host/printing/options.h"
#include "host/summary/groups.h"

namespace packetdb::host {

struct GroupByOptions {
  KeyFields by;                       // at least one
  SumKind share = SumKind::kCount;    // what shares are of
  std::size_t most_keys = kMostKeys;  // groups in memory; see Groups
};

class GroupBy {
 public:
  explicit GroupBy(const GroupByOptions& options)
      : share_(options.share), groups_(options.by, false, options.most_keys) {}

  void Add(const Row& row) { groups_.Add(row); }  // throws SummaryError
  // As that of Top. Groups are printed as they come out of the file, if they went there.
  void Print(const PrintOptions& options, const Names& names, std::FILE* out);

 private:
  SumKind share_;
  Groups groups_;
};

}  // namespace packetdb::host
