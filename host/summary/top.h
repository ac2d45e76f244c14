// What `packetdb top` tells: the groups of rows with the largest sums.
#pragma once

#include <cstdio>

#include "host/names/names.h"
#include "host/printing/options.h"
#include "host/summary/groups.h"

namespace packetdb::host {

struct TopOptions {
  KeyFields by;  // at least one
  SumKind sort = SumKind::kCount;
  std::size_t most = 10;              // groups that are printed, and kept for that
  std::size_t most_keys = kMostKeys;  // groups in memory; see Groups
};

class Top {
 public:
  explicit Top(const TopOptions& options)
      : options_(options), groups_(options.by, false, options.most_keys) {}

  void Add(const Row& row) { groups_.Add(row); }  // throws SummaryError
  // Once, behind the last row. Throws PrintError for a template that makes no sense, and
  // SummaryError. What cannot be written stays an error of the stream.
  void Print(const PrintOptions& options, const Names& names, std::FILE* out);

 private:
  TopOptions options_;
  Groups groups_;
};

}  // namespace packetdb::host
