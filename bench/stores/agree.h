// Whether a store gives back what it was given: what is wrong needs no time.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "bench/stores/variant.h"
#include "bench/support/record.h"

namespace packetdb::bench {

// Throws unless an empty store keeps what it is told, one record at a time and many at once, with
// the last of a batch in it.
template <class Store>
void CheckAnswers(Store& store, const std::string& name) {
  constexpr std::uint64_t kCount = 2 * kBatch + 1;
  constexpr std::uint64_t kOverwritten = kBatch / 2;
  std::vector<Record> expected;
  for (std::uint64_t i = 0; i < kCount; ++i) expected.push_back(MakeRecord(i));
  for (const Record& record : expected) store.Append(record);
  for (const std::uint64_t position : {kOverwritten, kCount - 1}) {
    expected[position] = MakeRecord(position + kCount);
    store.Overwrite(position, expected[position]);
  }
  store.Finish();
  std::vector<Record> many(kCount);
  store.ReadMany(0, many.data(), static_cast<int>(many.size()));
  Require(many == expected, (name + " does not give back many records").c_str());
  for (std::uint64_t i = 0; i < kCount; ++i) {
    Record one;
    store.Read(i, &one);
    Require(one == expected[i], (name + " does not give back a record").c_str());
  }
}

}  // namespace packetdb::bench
