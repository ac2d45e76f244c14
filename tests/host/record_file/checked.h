// What a check of a record file finds, as tests expect it.
#pragma once

#include <cstdint>
#include <functional>
#include <iosfwd>
#include <string>
#include <tuple>
#include <vector>

#include "host/record_file/check.h"
#include "tests/host/record_file/disk.h"
#include "tests/host/record_file/journal.h"

namespace packetdb::host {

// Position, severity and kind.
using Found = std::tuple<std::uint64_t, Severity, std::string>;

void PrintTo(const Found& found, std::ostream* out);

Found Damage(std::uint64_t position, std::string_view kind);
Found Warning(std::uint64_t position, std::string_view kind);
Found Note(std::uint64_t position, std::string_view kind);

struct Checked {
  RecordFileResult result = kRecordFileOk;
  std::vector<Found> found;
  std::vector<std::string> texts;
};

// `meanwhile` is called at each finding, before the check goes on.
Checked Check(const std::string& path, const std::function<void()>& meanwhile = nullptr);
Checked CheckBytes(const std::string& path, const Bytes& bytes);
// Of a file that the check takes for a record file.
std::vector<Found> FindingsIn(const std::string& path);

// Flips the bit in place.
void FlipBit(const std::string& path, std::uint64_t bit);

// Where the record `sequence` is in a file of 72-byte records with this many slots.
std::uint64_t OffsetIn(const std::string& path, std::uint64_t sequence);

}  // namespace packetdb::host
