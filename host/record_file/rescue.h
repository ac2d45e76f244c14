// A new record file made of the records of one that is too damaged to be opened.
//
// All that is needed is in the frames: each proves itself by its checksum, given the record size
// and the seed of the file. Both are taken from what is left of the superblocks, or found out from
// the frames. The damaged file is only read.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "host/record_file/descriptor.h"
#include "host/record_file/geometry.h"
#include "host/record_file/result.h"

namespace packetdb::host {

struct RescueRequest {
  // Magics and record sizes that the file may have had, the likeliest first; capacities are not
  // looked at. Not empty.
  std::vector<RecordFormat> known;
  // What is known of the file; otherwise it is found out.
  std::optional<std::uint32_t> record_size;
  std::optional<std::uint32_t> seed;  // first 4 bytes of the file id, as a little-endian number
  // The number of any of its records, give or take 2^31. Frames hold only the low 32 bits.
  std::optional<std::uint64_t> near;
};

struct Rescued {
  RecordFormat format;  // of the new file
  std::uint32_t seed = 0;
  bool is_seed_computed = false;   // from the frames: the superblocks did not have it
  bool is_capacity_known = false;  // else there is room for as many as the damaged file has slots
  std::uint64_t slots = 0;         // that were looked at
  std::uint64_t empty = 0;         // never written
  std::uint64_t damaged = 0;       // no whole record is in them, or they could not be read
  std::uint64_t older = 0;         // whole, but newer records had taken their places
  std::uint64_t repeated = 0;      // whole, and there twice
  std::uint64_t missing = 0;       // numbers between the first and the last that no record has
  std::uint64_t written = 0;       // records in the new file
  std::uint64_t first = 0;         // numbers of the first and the last of them in the damaged one
  std::uint64_t last = 0;          // and, for the last, in the new one
};

// Puts what can be found in `file` into a new, closed record file at `path`, where nothing must be.
// When there is nothing to be found, nothing is made, and `rescued` says so by `written`. On
// failure nothing is left behind.
RecordFileResult Rescue(const Descriptor& file, const RescueRequest& request,
                        const std::string& path, Rescued* rescued);

}  // namespace packetdb::host
