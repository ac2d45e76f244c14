#include "tests/host/reading/fake_source.h"

#include <algorithm>

namespace packetdb::host::test {

CDrvErrorItemV4 RecordSeen(std::int64_t first, std::int64_t last, std::uint16_t number) {
  CDrvErrorItemV4 record{};
  record.m_FirstTime = static_cast<std::uint32_t>(first - TIME_1980_OFFSET);
  record.m_LastTime = static_cast<std::uint32_t>(last - TIME_1980_OFFSET);
  record.m_SrcPort = number;
  record.m_Count = 1;
  return record;
}

std::vector<CDrvErrorItemV4> RandomRecords(packetdb::test::Random& random, std::uint32_t count) {
  std::vector<CDrvErrorItemV4> records;
  std::int64_t time = 1'000'000'000;
  for (std::uint32_t i = 1; i <= count; ++i) {
    if (random.OneIn(3)) time += random.Below(4);
    if (random.OneIn(40)) time += random.Below(100'000'000) / count;
    const std::int64_t lasts = random.OneIn(3) ? random.Below(FakeSource::kWindow) : 0;
    records.push_back(RecordSeen(time, time + lasts, static_cast<std::uint16_t>(i)));
  }
  return records;
}

ReadResult FakeSource::Describe(SourceFacts* facts) {
  SourceFacts found;
  if (tells && !records.empty()) {
    found.oldest = std::int64_t{records.front().m_FirstTime} + TIME_1980_OFFSET;
    found.newest = std::int64_t{records.back().m_FirstTime} + TIME_1980_OFFSET;
    found.records = records.size();
  }
  found.window_seconds = kWindow;
  *facts = found;
  return {};
}

bool IsSelected(const Query& query, const CDrvErrorItemV4& record) {
  const std::int64_t first = std::int64_t{record.m_FirstTime} + TIME_1980_OFFSET;
  const std::int64_t last = std::int64_t{record.m_LastTime} + TIME_1980_OFFSET;
  return first <= query.m_TimeEnd && last >= query.m_TimeStart &&
         record.m_SrcPort >= query.m_PortSrcFrom;
}

ReadResult FakeSource::Read(const Query& query, const RowSink& sink) {
  ++reads;
  if (failure != ReadOutcome::kDone) return {failure, "as told"};
  std::vector<CDrvErrorItemV4> answer;
  for (const CDrvErrorItemV4& record : records) {
    if (IsSelected(query, record)) answer.push_back(record);
  }
  std::reverse(answer.begin(), answer.end());
  if (most_work != 0 && answer.size() > most_work) return {ReadOutcome::kTooMuchWork, "memory"};
  const bool is_within = query.m_RecCount != 0 && query.m_RecCount <= most_rows;
  if (most_rows != 0 && !is_within && answer.size() > most_rows) {
    return {ReadOutcome::kTooManyRows, "rows"};
  }
  ReadResult result;
  if (query.m_RecCount != 0 && answer.size() >= query.m_RecCount) {
    answer.resize(query.m_RecCount);
    result.cut_at = std::int64_t{answer.back().m_FirstTime} + TIME_1980_OFFSET;
  }
  largest = std::max<std::uint64_t>(largest, answer.size());
  for (const CDrvErrorItemV4& record : answer) {
    if (!sink({.event = record, .interface = {}})) return {ReadOutcome::kStopped};
  }
  result.outcome = answer.empty() ? ReadOutcome::kNothing : ReadOutcome::kDone;
  return result;
}

std::vector<int> NaiveNumbers(const Query& query, const std::vector<CDrvErrorItemV4>& records) {
  std::vector<int> numbers;
  for (auto record = records.rbegin(); record != records.rend(); ++record) {
    if (IsSelected(query, *record)) numbers.push_back(record->m_SrcPort);
  }
  return numbers;
}

Query Between(std::int64_t since, std::int64_t until) {
  Query query;
  query.m_TimeStart = since;
  query.m_TimeEnd = until;
  query.m_PortSrcFrom = 1;
  query.m_PortSrcTo = 0xFFFF;
  return query;
}

}  // namespace packetdb::host::test
