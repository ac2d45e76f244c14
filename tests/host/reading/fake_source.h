// A journal in memory that answers as a daemon does: with limits, and by a filter that is written
// down a second time.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "host/reading/row_source.h"
#include "tests/support/seed.h"

namespace packetdb::host::test {

inline constexpr std::int64_t kTime = 1'600'000'000;  // a Unix time in the past
inline constexpr std::int64_t kForEver = 0x7FFFFFFF;  // the latest one that a query can carry

// When a record was first and last seen, Unix seconds; its source port is its number.
CDrvErrorItemV4 RecordSeen(std::int64_t first, std::int64_t last, std::uint16_t number);

// Records in the order of a journal: many in one second, stretched over others, with empty years
// between; no longer than the window of a journal.
std::vector<CDrvErrorItemV4> RandomRecords(packetdb::test::Random& random, std::uint32_t count);

class FakeSource : public RowSource {
 public:
  static constexpr long kWindow = 60;

  explicit FakeSource(std::vector<CDrvErrorItemV4> journal) : records(std::move(journal)) {}

  ReadResult Describe(SourceFacts* facts) override;
  ReadResult Read(const Query& query, const RowSink& sink) override;

  std::vector<CDrvErrorItemV4> records;
  bool tells = true;                         // of its journal
  std::uint64_t most_rows = 0;               // of an answer; 0: any
  std::uint64_t most_work = 0;               // records that an answer may walk; 0: any
  ReadOutcome failure = ReadOutcome::kDone;  // of every Read
  int reads = 0;
  std::uint64_t largest = 0;  // rows of an answer
};

// Whether a query of these times and this first source port selects the record.
bool IsSelected(const Query& query, const CDrvErrorItemV4& record);

// The numbers of the records that it selects, newest first.
std::vector<int> NaiveNumbers(const Query& query, const std::vector<CDrvErrorItemV4>& records);

// Everything between these times, Unix seconds.
Query Between(std::int64_t since, std::int64_t until);

}  // namespace packetdb::host::test
