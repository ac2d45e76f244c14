// Reading every frame of a file to find the newest record and the live ones that are missing.
#pragma once

#include <cstdint>
#include <vector>

#include "host/record_file/geometry.h"
#include "host/record_file/medium.h"
#include "host/record_file/result.h"

namespace packetdb::host {

struct PassResult {
  bool found_any = false;
  std::uint64_t newest = 0;          // highest sequence number of a valid frame; if found_any
  std::vector<std::uint64_t> holes;  // of the live window that ends behind it, ascending
};

// `hint` is a sequence number less than 2^31 away from those in the file: the frames hold only the
// low halves of theirs. Records that only the redo sector holds count as held.
RecordFileResult PassOver(const Medium& medium, const Geometry& geometry, std::uint64_t hint,
                          PassResult* out);

// The number of some record of the file, when nothing else tells how high they are. Fails with
// kDamagedRecord when no frame can be made out.
RecordFileResult GuessSequence(const Medium& medium, const Geometry& geometry,
                               std::uint64_t* sequence);

// The live numbers of `window` without a record, ascending.
RecordFileResult FindHoles(const Medium& medium, const Geometry& geometry, const Window& window,
                           std::vector<std::uint64_t>* holes);

}  // namespace packetdb::host
