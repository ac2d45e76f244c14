#include "tests/host/cli/stored_journal.h"

#include <cstddef>
#include <fstream>
#include <gtest/gtest.h>

#include "packetdb/journal_format.h"

namespace packetdb::host::test {

PacketDbItemPacked RecordAt(std::uint32_t seconds, std::uint32_t count) {
  PacketDbItemPacked record{};
  record.m_AdapterNameHash = 0xF00DFACE12345678;
  record.m_SrcIp = 0x0A000001;
  record.m_DstIp = 0x0A000002;
  record.m_Flags = 0x21;
  record.m_ErrorCode = 1;
  record.m_Word10 = 0x0800;
  record.m_Protocol = 17;
  record.m_SrcPort = 40000;
  record.m_DstPort = 53;
  record.m_SrcId = 7;
  record.m_DstId = 8;
  record.m_Dword1F = 31;
  record.m_Count = count;
  record.m_CountCopy = count;
  record.m_FirstTime = kStart + seconds;
  record.m_LastTime = kStart + seconds;
  record.m_Dword38 = 56;
  record.m_PacketSize = 40 * count;
  return record;
}

std::string StoredAs(JournalFormat format, const PacketDbItemPacked& record) {
  const std::string whole(reinterpret_cast<const char*>(&record), sizeof record);
  switch (format) {
    case JournalFormat::k3:
      return whole.substr(0, kFormat3RecordSize);
    case JournalFormat::k41:
      return whole.substr(offsetof(PacketDbItemPacked, m_SrcIp));
    default:
      return whole;
  }
}

void OpenToWrite(CDbFile& file, const std::string& path, JournalFormat format,
                 unsigned long capacity) {
  constexpr int kWriteOrCreate = 5;
  const char* magic = format == JournalFormat::k3 ? kFormat3Magic : kJournalMagic;
  const std::size_t size = StoredAs(format, {}).size();
  ASSERT_GE(file.Init(path, magic, size, capacity, kWriteOrCreate), 0);
}

int AppendTo(CDbFile& file, JournalFormat format, const PacketDbItemPacked& record) {
  return file.AppendRecord(StoredAs(format, record).data());
}

void Store(const std::string& path, const std::vector<PacketDbItemPacked>& records,
           unsigned long capacity, JournalFormat format) {
  CDbFile file;
  OpenToWrite(file, path, format, capacity);
  for (const PacketDbItemPacked& record : records) {
    ASSERT_GE(AppendTo(file, format, record), 0);
  }
}

void Overwrite(const std::string& path, std::uint64_t offset, const std::string& bytes) {
  std::fstream file(path, std::ios::in | std::ios::out | std::ios::binary);
  file.seekp(static_cast<std::streamoff>(offset));
  file << bytes;
  ASSERT_TRUE(file.flush());
}

}  // namespace packetdb::host::test
