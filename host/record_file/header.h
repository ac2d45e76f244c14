// The header page: made once, verified whenever a file is opened.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "host/record_file/layout.h"
#include "host/record_file/result.h"

namespace packetdb::host {

// What a caller asks for and what a file is: its magic, record size and number of records kept.
struct RecordFormat {
  std::string magic;
  std::uint64_t record_size = 0;
  std::uint64_t capacity = 0;  // 0: no bound
};

// Where everything is in one file. Slots are counted, offsets and lengths are in bytes.
struct Geometry {
  std::uint64_t record_size = 0;
  std::uint64_t slot_size = 0;
  std::uint64_t capacity = 0;  // 0: no bound
  std::uint64_t slot_count = 0;
  std::uint64_t slots_offset = 0;
  std::uint64_t first_sequence = 0;
};

// A complete header, checksum included. The format must be within the limits of layout.h.
HeaderPage MakeHeader(const RecordFormat& format);

// CRC-32C over the page up to its checksum.
std::uint32_t HeaderChecksum(const HeaderPage& header);

// The magic without its padding; views into the page.
std::string_view MagicOf(const HeaderPage& header);

// Bytes of a file that holds `slots` slots.
std::uint64_t FileLength(const Geometry& geometry, std::uint64_t slots);

// Slots by which an unbounded file grows, at least 1.
std::uint64_t GrowthSlots(std::uint64_t slot_size);

// Verifies the header of a file of `file_length` bytes. `got` is how many bytes of the page could
// be read. No number is used before it has been checked; `geometry` is untouched on failure.
RecordFileResult VerifyHeader(const HeaderPage& header, std::uint64_t got,
                              std::uint64_t file_length, Geometry* geometry);

// Records that can be read when the commit word is `next`, which must be plausible.
std::uint64_t LiveRecords(const Geometry& geometry, std::uint64_t next);

// A commit word that a writer can have left in this file.
bool IsPlausibleNext(const Geometry& geometry, std::uint64_t next);

// A redo word that a writer can have left beside the plausible commit word `next`.
bool IsPlausibleRedo(const Geometry& geometry, std::uint64_t next, std::uint64_t redo);

}  // namespace packetdb::host
