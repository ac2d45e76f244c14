// What the tests of journals and of the command share: files as text, events, records as stored,
// errors as text.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "packetdb/storage.h"

namespace packetdb::host::test {

void WriteText(const std::string& path, std::string_view text);
std::string ReadText(const std::string& path);

// Name and bytes of every file in a directory.
std::map<std::string, std::string> FilesIn(const std::string& directory);
std::vector<std::string> NamesIn(const std::string& directory);  // sorted

// One packet of 40 bytes from 10.0.0.<host>, at a second since 1980.
CDrvErrorItemV4 EventFrom(std::uint8_t host, std::uint32_t time);

// The calendar time as journals count it.
std::uint32_t JournalNow();

// Every record of a journal, oldest first, as it is stored; read through the library, read-only.
// Records are packed: tests read a field as +record.m_Count, because no reference may bind to it.
std::vector<PacketDbItemPacked> RecordsIn(const std::string& path);

// What an error says that `action` is to throw.
template <class Error, class Action>
std::string WhatOf(Action action) {
  try {
    action();
  } catch (const Error& error) {
    return error.what();
  }
  return "nothing was thrown";
}

}  // namespace packetdb::host::test
