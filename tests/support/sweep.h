// Sweeps that take too long for every run of the tests: a run takes a part, another one each time,
// and all of it where the environment says so.
#pragma once

#include <cstdlib>
#include <string_view>

#include "tests/support/seed.h"

namespace packetdb::test {

inline constexpr const char* kSweepVariable = "PACKETDB_SWEEP";  // "all": nothing is left out

class Sweep {
 public:
  // One of `parts`.
  explicit Sweep(std::uint32_t parts) : seed_(Seed()) {
    const char* given = std::getenv(kSweepVariable);
    parts_ = given != nullptr && std::string_view(given) == "all" ? 1 : parts;
  }

  int parts() const { return static_cast<int>(parts_); }
  // The first number of the part; then every parts()-th.
  int first() const { return static_cast<int>(seed_ % parts_); }
  bool Takes(int number) const { return number % parts() == first(); }
  std::uint32_t seed() const { return seed_; }

 private:
  std::uint32_t seed_;
  std::uint32_t parts_;
};

}  // namespace packetdb::test
