// Finding out what a file holds when nobody said so: after its writer died, after the machine lost
// power, or when something in the state page is damaged.
//
// Nothing of the file is changed here. So a recovery may be killed anywhere and begun again.
#pragma once

#include <cstdint>
#include <vector>

#include "host/record_file/geometry.h"
#include "host/record_file/layout.h"
#include "host/record_file/medium.h"
#include "host/record_file/result.h"

namespace packetdb::host {

struct Recovered {
  std::uint64_t next = 0;
  std::vector<std::uint64_t> holes;  // live numbers without a record, ascending
  std::uint64_t damaged = 0;         // newly found: records that had been flushed and are not whole
  std::uint64_t lost_unsynced = 0;   // newly found: records that had not been flushed and are gone
  bool searched = false;             // by reading the whole file
  bool is_in_memory = false;         // only the writer is gone: all that it stored is there
  bool is_as_stated = false;         // the state page says it all; nothing needs to be noted
  // The redo sector holds a record whose slot does not: the writer died in the middle of it.
  bool has_redo = false;
  std::uint64_t redo_sequence = 0;
  // What the redo sector holds is no frame: the writer died while it wrote there.
  bool is_redo_torn = false;
};

enum class OtherWriter {
  kNone,   // nobody else changes the file
  kAtWork  // somebody may be: the state page is believed as far as it is plausible
};

enum class Look {
  kQuick,     // believes a page that says that the file was closed
  kThorough,  // looks at every live record in any case
};

// `state` is what the state page held a moment ago. Fails only when the file cannot be read.
RecordFileResult Recover(const Medium& medium, const Geometry& geometry, const StatePage& state,
                         OtherWriter writer, Look look, Recovered* out);

}  // namespace packetdb::host
