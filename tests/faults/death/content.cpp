#include "tests/faults/death/content.h"

#include <algorithm>
#include <cstring>

namespace packetdb::faults {
namespace {

// Differs from word to word and from identity to identity.
std::uint64_t Filler(const Identity& identity, std::size_t index) {
  const std::uint64_t mixed =
      (identity.number * 0x9E3779B97F4A7C15U) ^ (identity.version * 0xC2B2AE3D27D4EB4FU);
  return mixed * (2 * index + 1) + index;
}

bool HasFiller(const Identity& identity, const unsigned char* record, std::size_t size) {
  for (std::size_t at = kSmallestRecord; at < size; at += sizeof(std::uint64_t)) {
    const std::uint64_t word = Filler(identity, at);
    if (std::memcmp(record + at, &word, std::min(sizeof word, size - at)) != 0) return false;
  }
  return true;
}

}  // namespace

void FillRecord(const Identity& identity, unsigned char* record, std::size_t size) {
  std::memcpy(record, &identity.number, sizeof identity.number);
  std::memcpy(record + sizeof identity.number, &identity.version, sizeof identity.version);
  for (std::size_t at = kSmallestRecord; at < size; at += sizeof(std::uint64_t)) {
    const std::uint64_t word = Filler(identity, at);
    std::memcpy(record + at, &word, std::min(sizeof word, size - at));
  }
}

RecordBytes MakeRecord(const Identity& identity, std::size_t size) {
  RecordBytes record(size);
  FillRecord(identity, record.data(), size);
  return record;
}

std::optional<Identity> IdentityOf(const unsigned char* record, std::size_t size) {
  Identity identity;
  std::memcpy(&identity.number, record, sizeof identity.number);
  std::memcpy(&identity.version, record + sizeof identity.number, sizeof identity.version);
  if (!HasFiller(identity, record, size)) return std::nullopt;
  return identity;
}

}  // namespace packetdb::faults
