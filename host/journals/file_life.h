// What the state page of a journal file tells of the file's life.
#pragma once

#include <cstdint>
#include <string_view>

#include "host/record_file/inspect.h"
#include "host/record_file/layout.h"

namespace packetdb::host {

enum class FileLife {
  kClosed,       // whoever wrote it was done with it
  kOpen,         // a writer has it open and has changed it
  kNotClosed,    // its writer died, or the machine stopped
  kFlushFailed,  // as either, and a flush to the disk failed
  kDamaged,      // the page does not say
};

FileLife LifeOf(const StatePage& state, bool has_writer);

// "closed", "open", "not_closed", "flush_failed", "damaged".
std::string_view LifeWord(FileLife life);
// The same for people.
std::string_view LifeText(FileLife life);

// Records that were dropped because newer ones came, since the file was made, when `end` is the
// number behind the newest and `live` are there.
std::uint64_t Overwritten(const FileFacts& facts, std::uint64_t end, std::uint64_t live);

}  // namespace packetdb::host
