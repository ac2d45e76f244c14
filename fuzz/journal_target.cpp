#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <unistd.h>
#include <vector>

#include "fuzz/journal_description.h"
#include "fuzz/promise.h"
#include "fuzz/target.h"
#include "host/journals/conversion.h"
#include "host/journals/error.h"
#include "host/journals/journal_format.h"
#include "host/log/log.h"
#include "host/record_file/check.h"
#include "host/record_file/layout.h"
#include "host/record_file/open.h"
#include "host/record_file/probe.h"
#include "host/record_file/settings.h"
#include "host/record_file/snapshot.h"
#include "host/record_file/state.h"
#include "platform/record_file.h"

namespace packetdb::fuzz {
namespace {

constexpr int kRead = 0;
constexpr int kWrite = 1;
// Each looks far back for a record to stand in for a damaged one.
constexpr int kMaxRefused = 8;
// Frames that may stand where no record should be.
constexpr std::uint64_t kMaxStrays = 64;

// A folder in memory, the process's own, which is gone at its end.
class Folder {
 public:
  Folder() : path_("/dev/shm/packetdb-fuzz-XXXXXX") {
    if (mkdtemp(path_.data()) == nullptr) Fail("a folder in /dev/shm");
  }
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;
  ~Folder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }

  std::string journal() const { return path_ + "/journal"; }

  void Clear() const {
    for (const auto& entry : std::filesystem::directory_iterator(path_)) {
      std::filesystem::remove(entry.path());
    }
  }

 private:
  std::string path_;
};

const Folder& TheFolder() {
  static const Folder folder;
  return folder;
}

void Put(const host::Descriptor& file, std::uint64_t offset, const void* bytes, std::size_t size) {
  const ssize_t put = pwrite(file.get(), bytes, size, static_cast<off_t>(offset));
  Require(put == static_cast<ssize_t>(size), "the file can be made");
}

void Make(const Description& description, const std::string& path) {
  const host::Descriptor file(open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0640));
  const auto length = static_cast<off_t>(description.length);
  Require(file.IsOpen() && ftruncate(file.get(), length) == 0, "the file can be made");
  for (const Piece& piece : description.pieces) {
    Put(file, piece.offset, piece.bytes.data(), piece.bytes.size());
  }
  const bool has_state = description.length >= host::kCellsOffset;
  if ((description.options & kThisBoot) == 0 || !has_state) return;
  host::StatePage state = {};
  host::MarkOpened(host::kOpen, &state);
  Put(file, host::kStateOffset + offsetof(host::StatePage, boot_id), state.boot_id.data(),
      state.boot_id.size());
}

// What a file shows to who reads it once.
struct Shown {
  int result = 0;
  int count = 0;
  int refused = 0;
  Bytes records;  // of those that were read
};

void ReadAll(CDbFile& file, std::uint64_t record_size, Shown* shown) {
  shown->count = file.RecordCount();
  Require(shown->count >= 0, "a count is not negative");
  shown->records.resize(static_cast<std::size_t>(shown->count) * record_size);
  std::size_t size = 0;
  for (int position = 0; position < shown->count && shown->refused < kMaxRefused;) {
    const int wanted = shown->count - position;
    const int got = file.ReadRecords(position, shown->records.data() + size, wanted);
    Require(got <= wanted, "no more records than asked for");
    size += static_cast<std::size_t>(std::max(got, 0)) * record_size;
    position += std::max(got, 0);
    if (got == wanted) break;
    Bytes record(record_size);
    Require(file.ReadRecord(position, record.data()) < 0, "what ends a reading is refused");
    ++shown->refused;
    ++position;
  }
  shown->records.resize(size);
}

int Open(CDbFile& file, const std::string& path, const host::RecordFileInfo& info, int mode) {
  const unsigned long capacity = info.capacity == 0 ? ~0UL : info.capacity;
  return file.Init(path, info.magic.c_str(), info.record_size, capacity, mode);
}

Shown Show(const std::string& path, const host::RecordFileInfo& info, int mode) {
  CDbFile file;
  Shown shown;
  shown.result = Open(file, path, info, mode);
  if (shown.result == 0) ReadAll(file, info.record_size, &shown);
  return shown;
}

struct Checked {
  int result = 0;
  bool is_clean = true;
};

Checked Check(const std::string& path) {
  host::Descriptor file;
  Checked checked;
  checked.result = host::OpenUnlocked(path, host::Access::kRead, &file);
  Require(checked.result == 0, "the file is there");
  checked.result = host::CheckRecordFile(file, [&](const host::Finding& finding) {
    Require(!finding.text.empty() && finding.text.find('\n') == std::string::npos,
            "a finding is a line");
    if (finding.severity != host::Severity::kNote) checked.is_clean = false;
  });
  return checked;
}

void TakeSnapshot(const std::string& path) {
  constexpr std::uint64_t kMaxRecords = 256;
  host::Descriptor file;
  host::OpenUnlocked(path, host::Access::kRead, &file);
  host::Snapshot snapshot(file);
  if (snapshot.BeginDespiteDamage() < 0) return;
  Require(snapshot.oldest() <= snapshot.end(), "a snapshot begins before its end");
  const std::uint64_t end = std::min(snapshot.end(), snapshot.oldest() + kMaxRecords);
  for (std::uint64_t sequence = snapshot.oldest(); sequence < end; ++sequence) {
    host::SnapshotRecord record;
    if (snapshot.Read(sequence, &record) < 0) return;
    Require(record.sequence == sequence, "a snapshot's record is the one asked for");
  }
}

void RequireSame(const Shown& read, const Shown& written) {
  if (written.count == read.count && written.refused == read.refused &&
      written.records == read.records) {
    return;
  }
  std::fprintf(stderr, "records, refused, bytes: %d %d %zu for a reader, %d %d %zu for a writer\n",
               read.count, read.refused, read.records.size(), written.count, written.refused,
               written.records.size());
  Fail("a writer and a reader see the same");
}

// Whether a record is among the newest ones that were read.
bool IsAmongNewest(const Bytes& record, const Bytes& records) {
  constexpr std::size_t kNewest = 64;
  std::size_t left = std::min(records.size() / record.size(), kNewest);
  for (auto end = records.end(); left > 0; --left) {
    const auto begin = end - static_cast<std::ptrdiff_t>(record.size());
    if (std::equal(begin, end, record.begin())) return true;
    end = begin;
  }
  return false;
}

// A file that can be opened for writing takes a record and an overwrite, and keeps them. What was
// not clean may have had frames with numbers that were still to come; they look newer then.
void Write(const std::string& path, const host::RecordFileInfo& info, bool is_clean) {
  const Bytes appended(info.record_size, 'a');
  const Bytes overwritten(info.record_size, 'o');
  {
    CDbFile file;
    if (Open(file, path, info, kWrite) < 0) return;
    const int ticket = file.AppendRecord(appended.data());
    if (ticket < 0) return;
    Require(file.WriteRecord(ticket, overwritten.data()) >= 0, "a new record can be overwritten");
  }
  const Shown shown = Show(path, info, kRead);
  Require(shown.result == 0, "what a writer has closed can be opened");
  Require(Check(path).result == 0, "what a writer has closed can be checked");
  const bool is_small = info.capacity != 0 && info.capacity < kMaxStrays;
  if (shown.refused == kMaxRefused || (is_small && !is_clean)) return;
  Require(IsAmongNewest(overwritten, shown.records), "what was written last is there");
}

void Convert(const std::string& path) {
  try {
    host::ConvertIfOld(path, {});
  } catch (const host::JournalError&) {
    return;
  }
  host::RecordFileInfo info;
  const int result = host::ProbeRecordFile(path, &info);
  Require(result == 0 && !host::IsOldFormat(host::FormatOf(info)),
          "what was converted is of today's format");
}

void Use(const std::string& path) {
  const Checked checked = Check(path);
  TakeSnapshot(path);
  host::RecordFileInfo info;
  const int result = host::ProbeRecordFile(path, &info);
  const Shown read = Show(path, info, kRead);
  if (result < 0) {
    Require(read.result < 0, "what cannot be probed cannot be read");
    return;
  }
  Require(read.result == 0 && static_cast<std::uint64_t>(read.count) == info.records,
          "a reader and a probe see the same");
  if (checked.result == 0 && checked.is_clean) {
    Require(read.refused == 0, "a file that checks clean is read without damage");
  }
  const Shown written = Show(path, info, kWrite);
  if (written.result < 0) return;
  RequireSame(read, written);
  if (host::IsOldFormat(host::FormatOf(info))) Convert(path);
  if (host::ProbeRecordFile(path, &info) == 0) Write(path, info, checked.is_clean);
}

}  // namespace

void TryInput(const std::uint8_t* data, std::size_t size) {
  host::SetLogLevel(0);  // it would tell of every damage
  const Description description = ParseDescription(data, size);
  host::RecordFileSettings settings;
  settings.by_calls = (description.options & kByCalls) != 0;
  settings.verify_at_opening = (description.options & kThorough) != 0;
  host::SetRecordFileSettings(settings);
  const std::string path = TheFolder().journal();
  TheFolder().Clear();
  Make(description, path);
  Use(path);
}

}  // namespace packetdb::fuzz
