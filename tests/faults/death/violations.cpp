#include "tests/faults/death/violations.h"

#include <fmt/format.h>

namespace packetdb::faults {
namespace {

constexpr std::uint64_t kTold = 10;

}  // namespace

void Violations::Add(const std::string& what) {
  if (++count_ <= kTold) fmt::print(stderr, "violation: {}\n", what);
  if (count_ == kTold) fmt::print(stderr, "violation: further ones are only counted\n");
}

}  // namespace packetdb::faults
