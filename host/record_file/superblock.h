// The superblock: made once, kept twice, verified whenever a file is opened.
#pragma once

#include <cstdint>
#include <string_view>

#include "host/record_file/geometry.h"
#include "host/record_file/layout.h"
#include "host/record_file/result.h"

namespace packetdb::host {

// A complete superblock with a new random file id, checksum included. The format must be within the
// limits of layout.h.
Superblock MakeSuperblock(const RecordFormat& format, std::uint64_t first_sequence);

// CRC-32C over the page up to its checksum.
std::uint32_t ChecksumOf(const Superblock& block);

// The magic without its padding; views into the page.
std::string_view MagicOf(const Superblock& block);

RecordFormat FormatOf(const Superblock& block);

// Length of a file that was just made with this superblock.
std::uint64_t InitialLength(const Superblock& block);

// Whether this is an intact superblock of the layout that we know: kRecordFileOk, or what it is
// instead. `got` is how many bytes of it could be read. Numbers are checked against each other, not
// yet against the file.
RecordFileResult VerifySuperblock(const Superblock& block, std::uint64_t got);

// The geometry of a file of `file_length` bytes with this superblock, which VerifySuperblock found
// intact. kTruncatedFile or kOverlongFile leave `geometry` untouched.
RecordFileResult FitToLength(const Superblock& block, std::uint64_t file_length,
                             Geometry* geometry);

}  // namespace packetdb::host
