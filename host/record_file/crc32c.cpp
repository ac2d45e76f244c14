#include "host/record_file/crc32c.h"

#include <array>
#include <cstring>
#include <nmmintrin.h>

namespace packetdb::host {
namespace {

constexpr std::uint32_t kReflectedPolynomial = 0x82F63B78;

constexpr std::array<std::uint32_t, 256> MakeTable() {
  std::array<std::uint32_t, 256> table = {};
  for (std::uint32_t byte = 0; byte < table.size(); ++byte) {
    std::uint32_t state = byte;
    for (int bit = 0; bit < 8; ++bit) {
      state = (state >> 1U) ^ ((state & 1U) != 0 ? kReflectedPolynomial : 0);
    }
    table[byte] = state;
  }
  return table;
}

constexpr std::array<std::uint32_t, 256> kTable = MakeTable();

[[gnu::target("sse4.2")]] std::uint32_t ContinueBySse42(std::uint32_t state, const void* bytes,
                                                        std::size_t size) {
  const auto* at = static_cast<const unsigned char*>(bytes);
  std::uint64_t wide = state;
  for (; size >= sizeof(std::uint64_t); size -= sizeof(std::uint64_t)) {
    std::uint64_t word = 0;
    std::memcpy(&word, at, sizeof word);
    wide = _mm_crc32_u64(wide, word);
    at += sizeof word;
  }
  auto narrow = static_cast<std::uint32_t>(wide);
  for (; size != 0; --size) narrow = _mm_crc32_u8(narrow, *at++);
  return narrow;
}

// Asked once: the answer is the same for as long as the process lives.
const bool kHasSse42 = __builtin_cpu_supports("sse4.2") != 0;

}  // namespace

std::uint32_t ContinueCrc32cPortably(std::uint32_t state, const void* bytes, std::size_t size) {
  const auto* at = static_cast<const unsigned char*>(bytes);
  for (; size != 0; --size) state = (state >> 8U) ^ kTable[(state ^ *at++) & 0xFFU];
  return state;
}

std::uint32_t ContinueCrc32c(std::uint32_t state, const void* bytes, std::size_t size) {
  return kHasSse42 ? ContinueBySse42(state, bytes, size)
                   : ContinueCrc32cPortably(state, bytes, size);
}

std::uint32_t Crc32c(const void* bytes, std::size_t size) {
  return ~ContinueCrc32c(0xFFFFFFFF, bytes, size);
}

}  // namespace packetdb::host
