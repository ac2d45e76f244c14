// Geometries and files of raw bytes for tests that go below CDbFile.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "host/record_file/descriptor.h"
#include "host/record_file/geometry.h"
#include "host/record_file/medium.h"
#include "tests/host/record_file/journal.h"

namespace packetdb::host {

// That of a new file; room for one step of growth when `capacity` is 0.
Geometry GeometryOf(std::uint64_t record_size, std::uint64_t capacity);

// That of the file at `path`.
Geometry GeometryOfFile(const std::string& path);

// The bytes of a file, opened for writing by one of the two ways; closed with it.
struct OpenBytes {
  OpenBytes(const std::string& path, Way way, Access access = Access::kWrite);

  Descriptor file;
  Medium medium;
};

// Puts the frame of MakeTestRecord(value) with this sequence number at an offset.
void PutFrame(const Geometry& geometry, std::uint64_t sequence, std::uint64_t value,
              std::uint64_t offset, Bytes* bytes);

// Changes one bit of the record in the slot of this sequence number, in the file at `path`.
void DamageRecord(const std::string& path, std::uint64_t sequence);

// Changes one byte of the file at `path`, without making another file of it.
void FlipByte(const std::string& path, std::uint64_t offset);

// Lets `path` hold what it would hold if its writer had been killed now: a copy of `source`, which
// may be open.
void CopyAsKilled(const std::string& source, const std::string& path);

}  // namespace packetdb::host
