// Short words for the tests of the record file: 72-byte records that carry one number each.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "host/record_file/result.h"
#include "platform/record_file.h"
#include "tests/host/record_file/disk.h"

namespace packetdb::host {

inline constexpr const char* kTestMagic = "Zolrak-Packet-Database-4";
inline constexpr std::size_t kTestRecordSize = 72;
inline constexpr unsigned long kNoBound = static_cast<unsigned long>(-1);

// Bits of the mode of CDbFile::Init.
inline constexpr int kModeRead = 0;
inline constexpr int kModeWrite = 1;
inline constexpr int kModeAnew = 3;
inline constexpr int kModeMissing = 5;

using TestRecord = std::array<std::uint64_t, kTestRecordSize / sizeof(std::uint64_t)>;

// Every word differs and depends on the value, so that a torn record never looks whole.
TestRecord MakeTestRecord(std::uint64_t value);
// The value of a whole record; fails the test and returns 2^64 - 1 for any other.
std::uint64_t ValueOf(const TestRecord& record);

int Open(CDbFile& file, const std::string& path, int mode, unsigned long max_records = 3);
int Append(CDbFile& file, std::uint64_t value);
int Overwrite(CDbFile& file, int ticket, std::uint64_t value);
std::vector<std::uint64_t> Values(CDbFile& file);  // oldest first

// A closed file with room for `max_records` and the records 1 ... `count`.
std::string MakeJournal(Disk& disk, std::uint64_t count, unsigned long max_records = 3);

// What a read-only and then a writing open of the file return, and what both show. Fails the test
// when they differ.
struct Outcome {
  int result = 0;
  std::vector<std::uint64_t> values;
};
Outcome Reopen(const std::string& path, unsigned long max_records = 3);

}  // namespace packetdb::host
