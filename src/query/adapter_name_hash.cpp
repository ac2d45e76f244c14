#include "packetdb/query.h"

namespace packetdb {

std::size_t adapter_name_hash(std::string_view name) {
  constexpr std::uint64_t kMultiplier = 0xC6A4A7935BD1E995;
  constexpr int kShift = 47;
  constexpr std::uint64_t kIncrement = 0xE6546B64;

  std::uint64_t hash = 0;
  for (const char c : name) {
    std::uint64_t k = static_cast<unsigned char>(c);  // never sign-extended
    k *= kMultiplier;
    k ^= k >> kShift;
    k *= kMultiplier;
    hash ^= k;
    hash *= kMultiplier;
    hash += kIncrement;
  }
  return hash;
}

}  // namespace packetdb
