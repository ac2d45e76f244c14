// The broken promises of a run: the first few are told, all are counted.
#pragma once

#include <cstdint>
#include <string>

namespace packetdb::faults {

class Violations {
 public:
  // One line on stderr: what was found, where.
  void Add(const std::string& what);
  std::uint64_t count() const { return count_; }

 private:
  std::uint64_t count_ = 0;
};

}  // namespace packetdb::faults
