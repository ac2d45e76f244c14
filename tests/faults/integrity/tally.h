// Violations by what was violated, the first of each told at once.
#pragma once

#include <cstdint>
#include <map>
#include <string>

namespace packetdb::faults {

class Tally {
 public:
  // `where` says in which case, for the first few.
  void Violate(const std::string& promise, const std::string& where);

  std::uint64_t total() const { return total_; }

 private:
  std::map<std::string, std::uint64_t> counts_;
  std::uint64_t total_ = 0;
};

}  // namespace packetdb::faults
