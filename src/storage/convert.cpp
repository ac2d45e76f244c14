// Rebuilding journals of earlier releases as format 4, beside the old file and then in its place.
#include <boost/filesystem/operations.hpp>
#include <cstring>
#include <memory>

#include "packetdb/journal_format.h"
#include "packetdb/storage.h"
#include "platform/record_file.h"
#include "src/log.h"
#include "src/storage/other_format.h"

namespace packetdb {

namespace {

constexpr char kLogSource[] = "src/storage";
constexpr int kSystemLogInfo = 6;
constexpr int kCreateAnew = 2;  // the mode bit that empties whatever is at the temporary path

// How a record of an old format becomes one of format 4.
struct OldFormat {
  const char* magic;
  unsigned long record_size;
  std::size_t offset;      // where the old record goes in the new one
  std::size_t zero_begin;  // what it had not: cleared after every read
  std::size_t zero_size;
  const char* notice;   // to the system log
  const char* outcome;  // how the count line begins
};

constexpr OldFormat kFormat3 = {
    kFormat3Magic,
    kFormat3RecordSize,
    0,
    offsetof(PacketDbItemPacked, m_PacketSize),
    sizeof(PacketDbItemPacked::m_PacketSize),
    "The PacketDB version 3 detected, rebuilding to V4",
    "Success, totally processed ",
};

constexpr OldFormat kFormat41 = {
    kJournalMagic,
    kFormat41RecordSize,
    offsetof(PacketDbItemPacked, m_SrcIp),
    offsetof(PacketDbItemPacked, m_AdapterNameHash),
    sizeof(PacketDbItemPacked::m_AdapterNameHash),
    "The PacketDB version 4.1 detected, rebuilding to V4",
    "Completed, totally processed ",
};

// Copies record by record until the old file ends or a call fails. `status` takes the result of
// every call as it is made.
void CopyRecords(const OldFormat& format, CDbFile& old_file, CDbFile& new_file, int* status) {
  unsigned char record[kJournalRecordSize] = {};  // no old record reaches all of it
  int copied = 0;
  while (copied < old_file.RecordCount()) {
    *status = old_file.ReadRecord(copied, record + format.offset);
    if (*status < 0) {
      break;
    }
    std::memset(record + format.zero_begin, 0, format.zero_size);
    *status = new_file.AppendRecord(record);
    if (*status < 0) {
      break;
    }
    ++copied;
  }
  PACKETDB_LOG(log::kTrace) << format.outcome << copied << " records from "
                            << old_file.RecordCount();
}

// Rebuilds the file at `path` through `new_file`, which is closed afterwards. Returns false when it
// is not of the old format or the new file cannot be made; the file at `path` is untouched then.
// Otherwise it has been replaced, by however much could be copied, and `status` is that of the last
// call that the copy made.
bool Convert(const OldFormat& format, const std::string& path, int maxRecords, int mode,
             CDbFile& new_file, int* status) {
  const auto capacity = static_cast<unsigned long>(maxRecords);
  auto old_file = std::make_unique<CDbFile>();
  if (old_file->Init(path, format.magic, format.record_size, capacity, mode) < 0) {
    return false;
  }
  slput(kSystemLogInfo, format.notice);
  const std::string temporary = path + ".~tmp";
  // Made before the old file goes: between removing and renaming no memory may be needed.
  const boost::filesystem::path place = path;
  const boost::filesystem::path converted = temporary;
  const int new_mode = mode | kCreateAnew;
  PACKETDB_LOG(log::kTrace) << "Creating V4 temporary PacketDB with path " << temporary << " ["
                            << log::Hex(new_mode) << "]";
  *status = new_file.Init(temporary, kJournalMagic, kJournalRecordSize, capacity, new_mode);
  if (*status < 0) {
    PACKETDB_LOG(log::kTrace) << "Failed (errcode: " << *status << ")";
    old_file->Done();
    return false;
  }
  PACKETDB_LOG(log::kTrace) << "V4 DB created, converting";
  CopyRecords(format, *old_file, new_file, status);
  old_file->Done();
  old_file.reset();
  new_file.Done();
  boost::filesystem::remove(place);
  boost::filesystem::rename(converted, place);
  return true;
}

}  // namespace

// The two differ deliberately in what they return: format 3 reports any copy as done, format 4.1
// the last status, so that a complete copy of several records returns a positive number.
int DbFileStorage::TryConvertDbFromOldFormat3(const std::string& path, int maxRecords, int mode) {
  int ignored = 0;
  return Convert(kFormat3, path, maxRecords, mode, *m_DbFile, &ignored) ? 0 : kOtherFormat;
}

int DbFileStorage::TryConvertDbFromOldFormat41(const std::string& path, int maxRecords, int mode) {
  int status = 0;
  return Convert(kFormat41, path, maxRecords, mode, *m_DbFile, &status) ? status : kOtherFormat;
}

}  // namespace packetdb
