#include "tests/faults/power/record.h"

#include <cstring>

namespace packetdb::faults {
namespace {

constexpr std::size_t kLabelWords = 2;

// A bijection whose output looks like noise: a multiplication spreads low bits upwards, a shift
// brings high ones down again.
std::uint64_t Mix(std::uint64_t value) {
  constexpr std::uint64_t kOdd = 0x9E37'79B9'7F4A'7C15;
  value = (value ^ (value >> 32U)) * kOdd;
  value = (value ^ (value >> 29U)) * kOdd;
  return value ^ (value >> 32U);
}

}  // namespace

Record MakeRecord(const Label& label) {
  Record record = {label.ordinal, label.version};
  for (std::size_t i = kLabelWords; i < record.size(); ++i) {
    record[i] = Mix(Mix(label.ordinal * record.size() + i) + label.version);
  }
  return record;
}

std::optional<Label> ParseRecord(const void* bytes) {
  Record record;
  std::memcpy(record.data(), bytes, kRecordSize);
  const Label label = {record[0], record[1]};
  if (record != MakeRecord(label)) return std::nullopt;
  return label;
}

}  // namespace packetdb::faults
