#include "tests/host/record_file/journal.h"

#include <algorithm>

namespace packetdb::host {

TestRecord MakeTestRecord(std::uint64_t value) {
  TestRecord record;
  for (std::size_t i = 0; i < record.size(); ++i) record[i] = value * (2 * i + 1) + i;
  return record;
}

std::uint64_t ValueOf(const TestRecord& record) {
  const std::uint64_t value = record.front();
  const bool whole = record == MakeTestRecord(value);
  EXPECT_TRUE(whole) << "a torn record that begins with " << value;
  return whole ? value : ~std::uint64_t{0};
}

int Open(CDbFile& file, const std::string& path, int mode, unsigned long max_records) {
  return file.Init(path, kTestMagic, kTestRecordSize, max_records, mode);
}

int Append(CDbFile& file, std::uint64_t value) {
  return file.AppendRecord(MakeTestRecord(value).data());
}

int Overwrite(CDbFile& file, int ticket, std::uint64_t value) {
  return file.WriteRecord(ticket, MakeTestRecord(value).data());
}

std::vector<std::uint64_t> Values(CDbFile& file) {
  std::vector<TestRecord> records(static_cast<std::size_t>(file.RecordCount()));
  if (records.empty()) return {};
  EXPECT_EQ(file.ReadRecords(0, records.data(), file.RecordCount()), file.RecordCount());
  std::vector<std::uint64_t> values(records.size());
  std::transform(records.begin(), records.end(), values.begin(), ValueOf);
  return values;
}

std::string MakeJournal(Disk& disk, std::uint64_t count, unsigned long max_records) {
  std::string path = disk.NewPath();
  CDbFile file;
  EXPECT_EQ(Open(file, path, kModeMissing, max_records), kRecordFileOk);
  for (std::uint64_t value = 1; value <= count; ++value) EXPECT_GE(Append(file, value), 0);
  return path;
}

Outcome Reopen(const std::string& path, unsigned long max_records) {
  CDbFile file;
  const int read_only = Open(file, path, kModeRead, max_records);
  const std::vector<std::uint64_t> seen = Values(file);
  Outcome outcome;
  outcome.result = Open(file, path, kModeWrite, max_records);
  outcome.values = Values(file);
  EXPECT_EQ(outcome.result, read_only);
  EXPECT_EQ(outcome.values, seen) << "a reader must see what a writer recovers";
  return outcome;
}

}  // namespace packetdb::host
