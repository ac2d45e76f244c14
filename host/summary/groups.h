// Rows in groups, exactly, however many groups there are, in bounded memory.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "host/summary/runs.h"

namespace packetdb::host {

// Of one 5-tuple each these are 115 MB.
inline constexpr std::size_t kMostKeys = 2'000'000;

// Groups beyond `most_keys` are not estimated: those in memory go to a file as a sorted run, and
// all runs are merged in the end. So sums are exact, at the price of a file.
class Groups {
 public:
  Groups(KeyFields fields, bool has_bin, std::size_t most_keys);
  Groups(const Groups&) = delete;
  Groups& operator=(const Groups&) = delete;

  // Throws SummaryError.
  void Add(const Row& row, std::int64_t bin = 0);

  // All groups in the order of their keys. Nothing can be added behind that. Throws SummaryError.
  void Visit(const GroupVisitor& visit);

  const Sums& total() const { return total_; }
  const KeyLayout& layout() const { return layout_; }

 private:
  void Spill();

  KeyLayout layout_;
  GroupTable table_;
  SpilledRuns runs_;
  Sums total_;
  std::vector<KeyBytes> key_;  // of the row that is being added
};

struct Group {
  std::vector<KeyBytes> key;
  Sums sums;
};

// The groups with the largest sums, at most `most`, the largest first; of those with the same, the
// one that comes first by its key. Throws SummaryError.
std::vector<Group> LargestGroups(Groups* groups, SumKind kind, std::size_t most);

}  // namespace packetdb::host
