// The records that the power-cut programs journal: each tells which it is and proves it.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

namespace packetdb::faults {

inline constexpr std::size_t kRecordSize = 72;

// What a record says of itself: it was the so-many-th that was ever appended, counted from 0, and
// it was overwritten `version` - 1 times.
struct Label {
  std::uint64_t ordinal = 0;
  std::uint64_t version = 0;
  bool operator==(const Label&) const = default;
};

using Record = std::array<std::uint64_t, kRecordSize / sizeof(std::uint64_t)>;

// No two labels have a word of the rest in common, so that a mixture of two versions shows.
Record MakeRecord(const Label& label);

// The label of kRecordSize bytes that MakeRecord made, and of no others.
std::optional<Label> ParseRecord(const void* bytes);

}  // namespace packetdb::faults
