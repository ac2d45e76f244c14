// The platform's record file on top of OpenFile: argument checks at the public edge.
#include "platform/record_file.h"

#include <new>
#include <optional>

#include "host/record_file/failed_change.h"
#include "host/record_file/open_file.h"
#include "host/record_file/request.h"
#include "host/record_file/result.h"

namespace host = packetdb::host;

class CDbFile::Impl {
 public:
  std::string path;                    // of the last Init
  std::optional<host::OpenFile> file;  // none while closed
};

CDbFile::CDbFile() : m_Impl(std::make_unique<Impl>()) {}

CDbFile::~CDbFile() = default;

int CDbFile::Init(const std::string& path, const char* magic, unsigned long recordSize,
                  unsigned long maxRecords, int mode) {
  Done();
  m_Impl->path = path;
  host::OpenRequest request;
  int result = host::MakeRequest(path, magic, recordSize, maxRecords, mode, &request);
  if (result < 0) return result;
  try {
    result = m_Impl->file.emplace().Open(request);
  } catch (const std::bad_alloc&) {
    result = host::kNoMemory;
  }
  if (result < 0) m_Impl->file.reset();
  return result;
}

int CDbFile::AppendRecord(const void* record) {
  if (!m_Impl->file) return host::NoteFailedChange(host::kNotOpen);
  if (record == nullptr) return host::NoteFailedChange(host::kNoBuffer);
  return host::NoteFailedChange(m_Impl->file->Append(record));
}

int CDbFile::ReadRecord(int index, void* record) {
  if (!m_Impl->file) return host::kNotOpen;
  return record == nullptr ? host::kNoBuffer : m_Impl->file->Read(index, record);
}

int CDbFile::ReadRecords(int first, void* records, int count) {
  if (!m_Impl->file) return host::kNotOpen;
  return records == nullptr ? host::kNoBuffer : m_Impl->file->ReadMany(first, records, count);
}

int CDbFile::WriteRecord(int index, const void* record) {
  if (!m_Impl->file) return host::NoteFailedChange(host::kNotOpen);
  if (record == nullptr) return host::NoteFailedChange(host::kNoBuffer);
  return host::NoteFailedChange(m_Impl->file->Overwrite(index, record));
}

void CDbFile::Done() { m_Impl->file.reset(); }

std::string CDbFile::GetFilePath() const { return m_Impl->path; }

int CDbFile::RecordCount() const { return m_Impl->file ? m_Impl->file->Count() : 0; }
