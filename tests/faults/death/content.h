// Records that say by their bytes which they are, so that a torn, stale or foreign one never passes
// for what was asked for.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace packetdb::faults {

// What a record is: the how manyth of its journal, and how often it was overwritten.
struct Identity {
  std::uint64_t number = 0;
  std::uint64_t version = 0;
  bool operator==(const Identity&) const = default;
};

inline constexpr std::size_t kSmallestRecord = 2 * sizeof(std::uint64_t);

using RecordBytes = std::vector<unsigned char>;

// Every byte of the record depends on both numbers. `record` has at least kSmallestRecord bytes.
void FillRecord(const Identity& identity, unsigned char* record, std::size_t size);
RecordBytes MakeRecord(const Identity& identity, std::size_t size);

// Nothing when the bytes are not exactly those of one record.
std::optional<Identity> IdentityOf(const unsigned char* record, std::size_t size);

}  // namespace packetdb::faults
