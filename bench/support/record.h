// The record that every store keeps: as large as one of a journal.
#pragma once

#include <array>
#include <cstdint>
#include <type_traits>

namespace packetdb::bench {

struct Record {
  std::uint64_t number = 0;  // tells records apart
  std::array<std::uint64_t, 8> rest = {};
};

static_assert(sizeof(Record) == 72 && std::is_trivially_copyable_v<Record>);

// No two are alike, and none is mostly zeros.
inline Record MakeRecord(std::uint64_t number) {
  Record record;
  record.number = number;
  record.rest.fill(number * 0x9E3779B97F4A7C15U + 1);
  return record;
}

inline bool operator==(const Record& a, const Record& b) {
  return a.number == b.number && a.rest == b.rest;
}

}  // namespace packetdb::bench
