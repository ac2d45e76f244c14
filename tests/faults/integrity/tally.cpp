#include "tests/faults/integrity/tally.h"

#include <fmt/format.h>

namespace packetdb::faults {
namespace {

constexpr std::uint64_t kToldOfEach = 5;

}  // namespace

void Tally::Violate(const std::string& promise, const std::string& where) {
  ++total_;
  if (++counts_[promise] <= kToldOfEach) fmt::print("violation: {}: {}\n", promise, where);
}

}  // namespace packetdb::faults
