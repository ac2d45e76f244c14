#include "tests/support/record_file.h"

#include <algorithm>
#include <fstream>
#include <optional>
#include <stdexcept>
#include <sys/stat.h>

#include "platform/record_file.h"
#include "tests/support/allocation.h"
#include "tests/support/calls.h"

namespace packetdb::test {

void MemoryFile::DropOldest() {
  records.pop_front();
  ++first_sequence;
}

MemoryFiles& Files() {
  static MemoryFiles files;
  return files;
}

// A path that leads to no file on disk has no key.
std::string MemoryFiles::Key(const std::string& path) const {
  if (!follows_disk_) return path;
  struct stat status {};
  return stat(path.c_str(), &status) == 0 ? std::to_string(status.st_ino) : "";
}

std::shared_ptr<MemoryFile> MemoryFiles::Find(const std::string& path) const {
  const auto found = files_.find(Key(path));
  return found == files_.end() ? nullptr : found->second;
}

std::shared_ptr<MemoryFile> MemoryFiles::Create(const std::string& path) {
  if (follows_disk_ && !std::ofstream(path)) throw std::runtime_error("cannot make " + path);
  return files_[Key(path)] = std::make_shared<MemoryFile>();
}

void MemoryFiles::Put(const std::string& path, const std::string& magic, std::size_t record_size,
                      std::deque<std::string> records) {
  const auto file = Create(path);
  file->magic = magic;
  file->record_size = record_size;
  file->capacity = std::max<std::size_t>(records.size(), 1);
  file->records = std::move(records);
}

namespace {

constexpr int kModeWrite = 1;
constexpr int kModeAnew = 2;
constexpr int kModeCreate = 4;
constexpr std::uint64_t kTickets = std::uint64_t{1} << 31;

std::string Args(std::initializer_list<std::string> arguments) {
  std::string text;
  for (const auto& argument : arguments) text += (text.empty() ? "" : ", ") + argument;
  return "(" + text + ")";
}

}  // namespace

}  // namespace packetdb::test

using packetdb::test::Args;
using packetdb::test::Calls;
using packetdb::test::Files;
using packetdb::test::HostMemory;
using packetdb::test::MemoryFile;

// What an object sees of its file: a writer everything that is there, a reader the records that
// were there when it last asked for their number.
class CDbFile::Impl {
 public:
  ~Impl() { Close(); }

  int Open(const std::string& path, const char* magic, unsigned long record_size,
           unsigned long max_records, int mode);
  void Close();
  int Append(const void* record);
  int Read(int index, void* record) const;
  int ReadMany(int first, void* records, int count) const;
  int Write(int ticket, const void* record);
  int Count();
  const std::string& path() const { return path_; }
  int number() const { return number_; }

 private:
  int OpenExisting(const char* magic, unsigned long record_size, unsigned long max_records);
  int CreateNew(const char* magic, unsigned long record_size, unsigned long max_records);
  void Resize(std::uint64_t capacity);
  void FreezeWindow();
  std::uint64_t WindowStart() const { return writes_ ? file_->first_sequence : window_start_; }
  std::uint64_t WindowEnd() const { return writes_ ? file_->NextSequence() : window_end_; }
  const std::string* RecordAt(int position) const;

  const int number_ = Files().NextObject();
  std::string path_;
  std::shared_ptr<MemoryFile> file_;
  bool writes_ = false;
  std::uint64_t window_start_ = 0;
  std::uint64_t window_end_ = 0;
};

int CDbFile::Impl::Open(const std::string& path, const char* magic, unsigned long record_size,
                        unsigned long max_records, int mode) {
  Close();
  path_ = path;
  file_ = Files().Find(path);
  if (file_ && file_->has_writer && (mode & packetdb::test::kModeWrite) != 0) {
    file_ = nullptr;
    return packetdb::test::kFileBusy;
  }
  writes_ = (mode & packetdb::test::kModeWrite) != 0;
  const bool anew = writes_ && (mode & packetdb::test::kModeAnew) != 0;
  const bool create = writes_ && (mode & packetdb::test::kModeCreate) != 0;
  int result = packetdb::test::kFileMissing;
  if (anew || (!file_ && create)) {
    result = CreateNew(magic, record_size, max_records);
  } else if (file_) {
    result = OpenExisting(magic, record_size, max_records);
  }
  if (result < 0) {
    file_ = nullptr;
    return result;
  }
  if (writes_) file_->has_writer = true;
  FreezeWindow();
  return result;
}

int CDbFile::Impl::CreateNew(const char* magic, unsigned long record_size,
                             unsigned long max_records) {
  if (max_records == 0) return packetdb::test::kFileBadCapacity;
  file_ = Files().Create(path_);
  file_->magic = magic;
  file_->record_size = record_size;
  file_->capacity = max_records;
  return 0;
}

int CDbFile::Impl::OpenExisting(const char* magic, unsigned long record_size,
                                unsigned long max_records) {
  if (file_->magic != magic || file_->record_size != record_size) {
    return packetdb::test::kFileOtherFormat;
  }
  if (writes_ && max_records != 0) Resize(max_records);
  return 0;
}

void CDbFile::Impl::Resize(std::uint64_t capacity) {
  file_->capacity = capacity;
  while (file_->records.size() > capacity) file_->DropOldest();
}

void CDbFile::Impl::Close() {
  if (file_ && writes_) file_->has_writer = false;
  file_ = nullptr;
}

int CDbFile::Impl::Append(const void* record) {
  if (!file_) return packetdb::test::kFileClosed;
  if (!writes_) return packetdb::test::kFileReadOnly;
  if (file_->records.size() >= file_->capacity) file_->DropOldest();
  const auto ticket = static_cast<int>(file_->NextSequence() % packetdb::test::kTickets);
  file_->records.emplace_back(static_cast<const char*>(record), file_->record_size);
  return ticket;
}

void CDbFile::Impl::FreezeWindow() {
  window_start_ = file_->first_sequence;
  window_end_ = file_->NextSequence();
}

// Null also for a record of a reader's window that has been overwritten since.
const std::string* CDbFile::Impl::RecordAt(int position) const {
  const auto sequence = WindowStart() + static_cast<std::uint64_t>(position);
  if (position < 0 || sequence >= WindowEnd() || sequence < file_->first_sequence) return nullptr;
  return &file_->records[sequence - file_->first_sequence];
}

int CDbFile::Impl::Read(int index, void* record) const {
  if (!file_) return packetdb::test::kFileClosed;
  const std::string* found = RecordAt(index);
  if (found == nullptr) return packetdb::test::kFileNoRecord;
  std::copy(found->begin(), found->end(), static_cast<char*>(record));
  return 0;
}

int CDbFile::Impl::ReadMany(int first, void* records, int count) const {
  if (!file_) return packetdb::test::kFileClosed;
  if (first < 0 || count < 0) return packetdb::test::kFileNoRecord;
  auto* out = static_cast<char*>(records);
  int done = 0;
  for (; done < count; ++done, out += file_->record_size) {
    const std::string* found = RecordAt(first + done);
    if (found == nullptr) break;
    std::copy(found->begin(), found->end(), out);
  }
  return done;
}

int CDbFile::Impl::Write(int ticket, const void* record) {
  if (!file_) return packetdb::test::kFileClosed;
  if (!writes_) return packetdb::test::kFileReadOnly;
  if (ticket < 0) return packetdb::test::kFileNoRecord;
  const auto back =
      (file_->NextSequence() - static_cast<std::uint64_t>(ticket)) % packetdb::test::kTickets;
  if (back == 0 || back > file_->records.size()) return packetdb::test::kFileNoRecord;
  file_->records[file_->records.size() - back].assign(static_cast<const char*>(record),
                                                      file_->record_size);
  return 0;
}

int CDbFile::Impl::Count() {
  if (!file_) return 0;
  FreezeWindow();
  return static_cast<int>(file_->records.size());
}

namespace {

void NoteCall(int object, const std::string& call) {
  Calls().Note(Files().ShowsObjects() ? std::to_string(object) + " " + call : call);
}

}  // namespace

CDbFile::CDbFile() : m_Impl((HostMemory(), std::make_unique<Impl>())) {
  const HostMemory host;
  NoteCall(m_Impl->number(), "CDbFile()");
}

CDbFile::~CDbFile() {
  const HostMemory host;
  NoteCall(m_Impl->number(), "~CDbFile()");
}

int CDbFile::Init(const std::string& path, const char* magic, unsigned long recordSize,
                  unsigned long maxRecords, int mode) {
  const HostMemory host;
  NoteCall(m_Impl->number(), "Init" + Args({path, magic, std::to_string(recordSize),
                                            std::to_string(maxRecords), std::to_string(mode)}));
  const auto planned = Calls().Planned("Init");
  if (planned && *planned < 0) {
    m_Impl->Close();
    return *planned;
  }
  const int result = m_Impl->Open(path, magic, recordSize, maxRecords, mode);
  return result < 0 ? result : planned.value_or(result);
}

int CDbFile::AppendRecord(const void* record) {
  const HostMemory host;
  NoteCall(m_Impl->number(), "AppendRecord()");
  const auto planned = Calls().Planned("AppendRecord");
  if (planned && *planned < 0) return *planned;
  const int result = m_Impl->Append(record);
  return planned.value_or(result);
}

int CDbFile::ReadRecord(int index, void* record) {
  const HostMemory host;
  NoteCall(m_Impl->number(), "ReadRecord" + Args({std::to_string(index)}));
  const auto planned = Calls().Planned("ReadRecord");
  if (planned && *planned < 0) return *planned;
  const int result = m_Impl->Read(index, record);
  return planned.value_or(result);
}

// A planned positive result delivers at most that many records.
int CDbFile::ReadRecords(int first, void* records, int count) {
  const HostMemory host;
  NoteCall(m_Impl->number(), "ReadRecords" + Args({std::to_string(first), std::to_string(count)}));
  const auto planned = Calls().Planned("ReadRecords");
  if (planned && *planned <= 0) return *planned;
  return m_Impl->ReadMany(first, records, std::min(count, planned.value_or(count)));
}

int CDbFile::WriteRecord(int index, const void* record) {
  const HostMemory host;
  NoteCall(m_Impl->number(), "WriteRecord" + Args({std::to_string(index)}));
  const auto planned = Calls().Planned("WriteRecord");
  if (planned && *planned < 0) return *planned;
  return m_Impl->Write(index, record);
}

void CDbFile::Done() {
  const HostMemory host;
  NoteCall(m_Impl->number(), "Done()");
  m_Impl->Close();
}

std::string CDbFile::GetFilePath() const {
  const HostMemory host;
  NoteCall(m_Impl->number(), "GetFilePath()");
  return m_Impl->path();
}

int CDbFile::RecordCount() const {
  const HostMemory host;
  NoteCall(m_Impl->number(), "RecordCount()");
  return m_Impl->Count();
}
