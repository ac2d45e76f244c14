// Groups that found no room in memory: sorted runs in a file without a name.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "host/summary/group_table.h"

namespace packetdb::host {

// The file could not be made, written or read: what() says which, why and what to do.
class SummaryError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

using GroupVisitor = std::function<void(const KeyBytes* key, const Sums& sums)>;

// The file is in the folder that the environment has as TMPDIR, or in /var/tmp, which unlike /tmp
// is seldom memory itself. It is gone with the process, however that ends.
class SpilledRuns {
 public:
  // `layout` must outlive it.
  explicit SpilledRuns(const KeyLayout& layout) : layout_(layout) {}
  ~SpilledRuns();
  SpilledRuns(const SpilledRuns&) = delete;
  SpilledRuns& operator=(const SpilledRuns&) = delete;

  bool empty() const { return runs_.empty(); }

  // Appends the groups of a table after its Sort(). Throws SummaryError.
  void Write(const GroupTable& table);
  // Visits the groups of all runs in the order of their keys, those with one key added up. Throws
  // SummaryError.
  void Merge(const GroupVisitor& visit) const;

 private:
  struct Run {
    std::uint64_t offset;
    std::uint64_t size;  // bytes
  };

  void Open();
  void Append(const std::string& bytes);

  const KeyLayout& layout_;
  std::string folder_;
  int file_ = -1;
  std::uint64_t end_ = 0;
  std::vector<Run> runs_;
};

}  // namespace packetdb::host
