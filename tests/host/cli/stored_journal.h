// Journal files of every format with records as a test wants them.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "host/journals/journal_format.h"
#include "packetdb/storage.h"
#include "platform/record_file.h"

namespace packetdb::host::test {

inline constexpr unsigned long kWithoutBound = static_cast<unsigned long>(-1);

// 2020-09-13 12:26:40 UTC in seconds since 1980.
inline constexpr std::uint32_t kStart = 1600000000 - TIME_1980_OFFSET;

// A record of `count` packets of 40 bytes from 10.0.0.1 to 10.0.0.2, first and last seen at
// kStart + `seconds`. Every field has a value of its own.
PacketDbItemPacked RecordAt(std::uint32_t seconds, std::uint32_t count = 1);

// The bytes that a record of format 4 has in a journal of another one.
std::string StoredAs(JournalFormat format, const PacketDbItemPacked& record);

// Opens a journal for writing, anew when it is missing; fails the test when it cannot.
void OpenToWrite(CDbFile& file, const std::string& path, JournalFormat format,
                 unsigned long capacity);
// Appends a record; its ticket.
int AppendTo(CDbFile& file, JournalFormat format, const PacketDbItemPacked& record);

// Makes a closed journal of these records.
void Store(const std::string& path, const std::vector<PacketDbItemPacked>& records,
           unsigned long capacity = 10, JournalFormat format = JournalFormat::k4);

// Changes bytes of a file in place.
void Overwrite(const std::string& path, std::uint64_t offset, const std::string& bytes);

}  // namespace packetdb::host::test
