// What random tests draw from: another seed in every run, shown by those that fail, and repeated
// when the environment names it.
#pragma once

#include <charconv>
#include <cstdlib>
#include <random>
#include <stdexcept>
#include <string>

namespace packetdb::test {

inline constexpr const char* kSeedVariable = "PACKETDB_SEED";

// The seed of this run: the variable's when it is set, a fresh one otherwise. Throws
// std::runtime_error when the variable is not a number of 32 bits: a test that then took another
// seed would seem to repeat a failure and would not.
inline std::uint32_t Seed() {
  const char* given = std::getenv(kSeedVariable);
  if (given == nullptr) return std::random_device{}();
  const std::string text = given;
  std::uint32_t seed = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), seed);
  if (error != std::errc{} || end != text.data() + text.size()) {
    throw std::runtime_error(std::string(kSeedVariable) + "=" + text + " is not a seed");
  }
  return seed;
}

// "PACKETDB_SEED=7", for SCOPED_TRACE: what to set to see a failure again.
inline std::string SeedText(std::uint32_t seed) {
  return std::string(kSeedVariable) + "=" + std::to_string(seed);
}

// Numbers of one seed.
class Random {
 public:
  explicit Random(std::uint32_t seed) : engine_(seed) {}

  std::uint32_t Bits() { return static_cast<std::uint32_t>(engine_()); }
  // One of the numbers below `bound`, which is not 0.
  std::uint32_t Below(std::uint32_t bound) { return Bits() % bound; }
  bool OneIn(std::uint32_t n) { return Below(n) == 0; }
  template <class Values>
  auto OneOf(const Values& values) {
    return values[Below(static_cast<std::uint32_t>(values.size()))];
  }

 private:
  std::mt19937 engine_;
};

}  // namespace packetdb::test
