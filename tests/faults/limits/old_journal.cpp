#include "tests/faults/limits/old_journal.h"

#include <cstddef>
#include <cstring>
#include <fmt/format.h>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <utility>

#include "host/journals/conversion.h"
#include "host/journals/error.h"
#include "packetdb/journal_format.h"
#include "packetdb/storage.h"
#include "platform/record_file.h"
#include "tests/faults/limits/driven_journal.h"

namespace packetdb::faults {
namespace {

constexpr unsigned long kCapacity = 1000;

// What a format puts in front of the fields that the earlier one has.
constexpr std::size_t kInterfaceSize = kJournalRecordSize - kFormat41RecordSize;

unsigned long RecordSize(OldFormat format) {
  return format == OldFormat::k3 ? kFormat3RecordSize : kFormat41RecordSize;
}

// Where the bytes of an old record begin in the converted one.
std::size_t Front(OldFormat format) { return format == OldFormat::k3 ? 0 : kInterfaceSize; }

std::string BytesOf(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

}  // namespace

std::string NameOf(OldFormat format) { return format == OldFormat::k3 ? "3" : "4.1"; }

OldJournal::OldJournal(std::string path, OldFormat format, int records)
    : path_(std::move(path)), format_(format), records_(records) {
  CDbFile file;
  int result = file.Init(path_, format == OldFormat::k3 ? kFormat3Magic : kJournalMagic,
                         RecordSize(format), kCapacity, kModeAnew);
  for (int i = 0; i < records && result >= 0; ++i) {
    result = file.AppendRecord(RecordOf(i).data());
  }
  file.Done();
  if (result < 0) throw std::runtime_error(fmt::format("{}: {}", path_, Describe(result)));
  bytes_ = BytesOf(path_);
}

std::string OldJournal::Convert() const {
  try {
    host::ConvertIfOld(path_, {});
    return {};
  } catch (const host::JournalError& error) {
    return error.what();
  }
}

std::string OldJournal::ConvertByLibrary() const {
  DbFileStorage storage;
  const int result = storage.Init(path_, kCapacity, kModeWrite, 0);
  storage.Done();
  // A positive result is that of a conversion too: the library leaves opening it to the caller.
  return result >= 0 ? "" : Describe(result);
}

void OldJournal::RequireUntouched(const std::string& when, Verdict* verdict) const {
  verdict->Require(BytesOf(path_) == bytes_, fmt::format("{}: the old file is as before", when));
}

void OldJournal::RequireConverted(const std::string& when, Verdict* verdict) const {
  CDbFile file;
  const int result = file.Init(path_, kJournalMagic, kJournalRecordSize, kCapacity, kModeRead);
  verdict->Require(result >= 0, fmt::format("{}: a reader gets in: {}", when, Describe(result)));
  verdict->Require(file.RecordCount() == records_,
                   fmt::format("{}: {} records, but: {}", when, records_, file.RecordCount()));
  if (file.RecordCount() != records_) return;
  for (int i = 0; i < records_; ++i) {
    std::string converted(kJournalRecordSize, '\0');
    const bool read = file.ReadRecord(i, converted.data()) >= 0;
    const bool right = converted.substr(Front(format_), RecordSize(format_)) == RecordOf(i);
    verdict->Require(read && right, fmt::format("{}: record {} is right", when, i));
  }
}

// First-seen times ascend; the other bytes differ from record to record.
std::string OldJournal::RecordOf(int number) const {
  std::string record(RecordSize(format_), '\0');
  for (std::size_t i = 0; i < record.size(); ++i) {
    record[i] = static_cast<char>(i * 11 + static_cast<unsigned>(number) * 29 + 3);
  }
  const std::uint32_t time = (static_cast<std::uint32_t>(number) + 1) * 10;
  std::memcpy(&record[offsetof(PacketDbItemPacked, m_FirstTime) - Front(format_)], &time,
              sizeof time);
  return record;
}

}  // namespace packetdb::faults
