#include "tests/host/journals/old_journals.h"

#include <cstring>
#include <filesystem>
#include <gtest/gtest.h>
#include <numeric>
#include <sys/stat.h>

#include "host/journals/error.h"
#include "packetdb/journal_format.h"
#include "platform/record_file.h"
#include "tests/host/journals/support.h"

namespace packetdb::host::test {

namespace {

constexpr int kCreateAnew = 2;
constexpr std::size_t kFirstTimeOffset = offsetof(PacketDbItemPacked, m_FirstTime);
constexpr std::size_t kInterfaceSize = sizeof(PacketDbItemPacked::m_AdapterNameHash);

// The record of format 4 that a conversion should make, without what format 3 leaves open.
std::string NewRecord(JournalFormat format, int number) {
  const std::string old_record = OldRecord(format, number);
  return format == JournalFormat::k3 ? old_record : std::string(kInterfaceSize, '\0') + old_record;
}

int NumberOf(const std::string& record, JournalFormat format) {
  std::uint32_t time = 0;
  std::memcpy(&time, record.data() + kFirstTimeOffset, sizeof time);
  const int number = static_cast<int>(time / 10) - 1;
  const std::string expected = NewRecord(format, number);
  EXPECT_EQ(record.substr(0, expected.size()), expected) << "record " << number;
  if (format == JournalFormat::k3) {
    const std::string first_time = record.substr(kFirstTimeOffset, sizeof time);
    EXPECT_EQ(record.substr(expected.size()), first_time + std::string(8, '\0')) << number;
  }
  return number;
}

}  // namespace

std::string OldRecord(JournalFormat format, int number) {
  const std::size_t front = format == JournalFormat::k3 ? 0 : kInterfaceSize;
  const std::size_t size = format == JournalFormat::k3 ? kFormat3RecordSize : kFormat41RecordSize;
  std::string record(size, '\0');
  for (std::size_t i = 0; i < size; ++i) {
    record[i] = static_cast<char>(i * 7 + static_cast<unsigned>(number) * 13 + 1);
  }
  const auto time = static_cast<std::uint32_t>(number + 1) * 10;
  std::memcpy(record.data() + kFirstTimeOffset - front, &time, sizeof time);
  return record;
}

void MakeRecordFile(const std::string& path, const char* magic, unsigned long record_size,
                    int capacity) {
  CDbFile file;
  ASSERT_EQ(file.Init(path, magic, record_size, static_cast<unsigned long>(capacity), kCreateAnew),
            0);
}

void MakeOld(const std::string& path, JournalFormat format, int count, int capacity) {
  const bool is_3 = format == JournalFormat::k3;
  CDbFile file;
  ASSERT_EQ(file.Init(path, is_3 ? kFormat3Magic : kJournalMagic,
                      is_3 ? kFormat3RecordSize : kFormat41RecordSize,
                      static_cast<unsigned long>(capacity), kCreateAnew),
            0);
  for (int i = 0; i < count; ++i) {
    ASSERT_GE(file.AppendRecord(OldRecord(format, i).data()), 0);
  }
}

std::vector<int> NumbersIn(const std::string& path, JournalFormat format) {
  std::vector<int> numbers;
  for (const PacketDbItemPacked& record : RecordsIn(path)) {
    numbers.push_back(
        NumberOf(std::string(reinterpret_cast<const char*>(&record), sizeof record), format));
  }
  return numbers;
}

std::vector<int> Numbers(int first, int end) {
  std::vector<int> numbers(static_cast<std::size_t>(end - first));
  std::iota(numbers.begin(), numbers.end(), first);
  return numbers;
}

std::map<std::string, FileThere> Snapshot(const std::string& directory) {
  std::map<std::string, FileThere> files;
  for (const auto& entry : std::filesystem::directory_iterator(directory)) {
    struct stat status {};
    EXPECT_EQ(lstat(entry.path().c_str(), &status), 0);
    FileThere& file = files[entry.path().filename().string()];
    file = {status.st_ino, status.st_mode, ""};
    if (S_ISREG(status.st_mode)) {
      file.bytes = ReadText(entry.path().string());
    }
  }
  return files;
}

void CopyWithLinks(const std::string& from, const std::string& to) {
  std::filesystem::create_directory(to);
  std::map<ino_t, std::string> copies;
  for (const auto& entry : std::filesystem::directory_iterator(from)) {
    struct stat status {};
    ASSERT_EQ(lstat(entry.path().c_str(), &status), 0);
    const std::string copy = to + "/" + entry.path().filename().string();
    const auto [known, fresh] = copies.emplace(status.st_ino, copy);
    if (fresh) {
      std::filesystem::copy_file(entry.path(), copy);
    } else {
      std::filesystem::create_hard_link(known->second, copy);
    }
  }
}

OldGroup::OldGroup() : directory_(root_.Path()), journal_(JournalPath(directory_, "lan")) {}

GroupOptions OldGroup::Options() const {
  GroupOptions options;
  options.directory = directory_;
  options.group = "lan";
  return options;
}

std::optional<Conversion> OldGroup::Open() const { return Open(Options()); }

std::optional<Conversion> OldGroup::Open(const GroupOptions& options) const {
  return GroupWriter(options).conversion();
}

std::string OldGroup::ErrorOfOpening() const { return ErrorOfOpening(Options()); }

std::string OldGroup::ErrorOfOpening(const GroupOptions& options) const {
  return WhatOf<JournalError>([&] { const GroupWriter writer(options); });
}

}  // namespace packetdb::host::test
