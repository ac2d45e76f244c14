#include "bench/stores/journal.h"

#include <algorithm>
#include <fmt/format.h>

#include "host/record_file/modes.h"
#include "host/record_file/result.h"

namespace packetdb::bench {
namespace {

constexpr std::uint64_t kTicketMask = 0x7FFFFFFF;

host::RecordFileSettings Syncing(host::SyncMode mode) {
  host::RecordFileSettings settings;
  settings.sync.mode = mode;
  return settings;
}

host::RecordFileSettings ByCalls() {
  host::RecordFileSettings settings;
  settings.by_calls = true;
  return settings;
}

void ReadOne(CDbFile& file, std::uint64_t position, Record* record) {
  Require(file.ReadRecord(static_cast<int>(position), record) >= 0, "journal: cannot read");
}

void ReadRange(CDbFile& file, std::uint64_t first, Record* records, int count) {
  Require(file.ReadRecords(static_cast<int>(first), records, count) == count,
          "journal: cannot read many");
}

}  // namespace

void OpenJournal(const std::string& path, std::uint64_t capacity, int mode,
                 const host::RecordFileSettings& settings, CDbFile* file) {
  const host::RecordFileSettings before = host::GetRecordFileSettings();
  host::SetRecordFileSettings(settings);
  const int result = file->Init(path, kJournalMagic, sizeof(Record), capacity, mode);
  host::SetRecordFileSettings(before);
  if (result >= 0) return;
  throw std::runtime_error(fmt::format("journal: {}", host::DescribeRecordFileResult(result)));
}

std::vector<Variant<JournalStore>> JournalStore::Variants(std::uint64_t capacity) {
  using host::SyncMode;
  const Promise usual = {"every record", "all but the last second's; damage is noticed"};
  const Promise lazy = {"every record", "what the kernel had written; damage is noticed"};
  return {
      {"packetdb", {capacity, Syncing(SyncMode::kPeriodic)}, usual},
      {"packetdb, never synced", {capacity, Syncing(SyncMode::kNever)}, lazy},
      {"packetdb, by calls", {capacity, ByCalls()}, usual},
      {"packetdb, each synced",
       {capacity, Syncing(SyncMode::kEach)},
       {"every record", "every record"},
       true},
  };
}

JournalStore::JournalStore(const std::string& path, const Options& options)
    : path_(path), options_(options) {
  OpenJournal(path_, options_.capacity, host::mode::kWrite | host::mode::kCreateAnew,
              options_.settings, &file_);
}

// Without waiting for each record where the options ask for that. The first change after an opening
// is special, because it marks the file as open; it is made here, not where changes are timed.
void JournalStore::Fill(std::uint64_t count) {
  OpenJournal(path_, options_.capacity, host::mode::kWrite, Syncing(host::SyncMode::kNever),
              &file_);
  for (std::uint64_t i = 0; i < count; ++i) Append(MakeRecord(i));
  OpenJournal(path_, options_.capacity, host::mode::kWrite, options_.settings, &file_);
  Append(MakeRecord(count));
}

void JournalStore::Append(const Record& record) {
  Require(file_.AppendRecord(&record) >= 0, "journal: cannot append");
  ++count_;
}

void JournalStore::Overwrite(std::uint64_t position, const Record& record) {
  const std::uint64_t oldest = count_ - std::min(count_, options_.capacity);
  const auto ticket = static_cast<int>((oldest + position) & kTicketMask);
  Require(file_.WriteRecord(ticket, &record) >= 0, "journal: cannot overwrite");
}

void JournalStore::Read(std::uint64_t position, Record* record) {
  ReadOne(file_, position, record);
}

void JournalStore::ReadMany(std::uint64_t first, Record* records, int count) {
  ReadRange(file_, first, records, count);
}

JournalReader::JournalReader(const std::string& path, std::uint64_t count) {
  OpenJournal(path, 0, host::mode::kRead, host::RecordFileSettings(), &file_);
  Require(file_.RecordCount() == static_cast<int>(count), "journal: another count of records");
}

void JournalReader::Read(std::uint64_t position, Record* record) {
  ReadOne(file_, position, record);
}

void JournalReader::ReadMany(std::uint64_t first, Record* records, int count) {
  ReadRange(file_, first, records, count);
}

}  // namespace packetdb::bench
