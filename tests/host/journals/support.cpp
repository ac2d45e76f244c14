#include "tests/host/journals/support.h"

#include <ctime>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>

#include "host/record_file/probe.h"

namespace packetdb::host::test {

void WriteText(const std::string& path, std::string_view text) {
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  file << text << std::flush;
  EXPECT_TRUE(file.good()) << path;
}

std::string ReadText(const std::string& path) {
  const std::ifstream file(path, std::ios::binary);
  EXPECT_TRUE(file.good()) << path;
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

std::map<std::string, std::string> FilesIn(const std::string& directory) {
  std::map<std::string, std::string> files;
  for (const auto& entry : std::filesystem::directory_iterator(directory)) {
    files[entry.path().filename().string()] = ReadText(entry.path().string());
  }
  return files;
}

std::vector<std::string> NamesIn(const std::string& directory) {
  std::vector<std::string> names;
  for (const auto& [name, bytes] : FilesIn(directory)) names.push_back(name);
  return names;
}

CDrvErrorItemV4 EventFrom(std::uint8_t host, std::uint32_t time) {
  CDrvErrorItemV4 event{};
  event.m_SrcIp = 0x0A000000U + host;
  event.m_Count = 1;
  event.m_FirstTime = event.m_LastTime = time;
  event.m_PacketSize = 40;
  return event;
}

std::uint32_t JournalNow() {
  return static_cast<std::uint32_t>(std::time(nullptr) - std::time_t{TIME_1980_OFFSET});
}

std::vector<PacketDbItemPacked> RecordsIn(const std::string& path) {
  constexpr int kReadOnly = 0;
  RecordFileInfo info;
  EXPECT_EQ(ProbeRecordFile(path, &info), 0) << path;
  DbFileStorage storage;
  EXPECT_EQ(storage.Init(path, static_cast<int>(info.capacity), kReadOnly, 0), 0) << path;
  std::vector<PacketDbItemPacked> records(static_cast<std::size_t>(storage.RecordCount()));
  if (!records.empty()) {
    EXPECT_EQ(storage.FetchRecords(0, records.data(), storage.RecordCount()),
              storage.RecordCount());
  }
  storage.Done();
  return records;
}

}  // namespace packetdb::host::test
