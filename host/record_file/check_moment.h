// What a file is while it is checked: at rest, or changing under the eyes of the checker.
#pragma once

#include <chrono>
#include <cstdint>

#include "host/record_file/check.h"
#include "host/record_file/descriptor.h"
#include "host/record_file/geometry.h"
#include "host/record_file/inspect.h"
#include "host/record_file/layout.h"
#include "host/record_file/medium.h"
#include "host/record_file/result.h"

namespace packetdb::host {

// Time for a writer to get through what it is in the middle of: little in all, so that damage never
// makes a check slow.
class Patience {
 public:
  // Waits a moment; false when the time is used up.
  bool Wait();

 private:
  std::chrono::milliseconds left_{100};
};

enum class Life {
  kClosed,     // nobody is at it, and whoever was said that it was done
  kWritten,    // a writer has it open
  kAbandoned,  // a writer has changed it and is gone without having closed it
};

// The file at the moment at which the check begins.
struct CheckedMoment {
  FileFacts facts;
  bool is_length_right = true;
  Life life = Life::kClosed;
  Window window;                   // of the records that count
  bool was_searched = false;       // the window was found by reading all frames
  std::uint64_t lost_at_end = 0;   // records behind it that the state page counts
  std::uint64_t flushed_lost = 0;  // those of them that had been flushed

  // What its last writer left has not been looked through by a next one, or not to the end.
  bool IsUnrecovered() const {
    return life == Life::kAbandoned || (life == Life::kWritten && was_searched);
  }
  const StatePage& state() const { return facts.state; }
  const Geometry& geometry() const { return facts.geometry; }
};

// Fixes the moment, but for its window. What Inspect returns, whatever the length is.
RecordFileResult FixMoment(const Descriptor& file, Patience* patience, CheckedMoment* moment);

// Finds the window; `medium` is over the whole file. With a wrong length, nothing is recovered.
RecordFileResult FindWindow(const Medium& medium, CheckedMoment* moment);

// Tells what has happened since the moment.
class Stillness {
 public:
  Stillness(const Descriptor& file, const Medium& medium, const CheckedMoment& moment)
      : file_(file), medium_(medium), moment_(moment) {}

  // Whether nobody was at the file then, and nobody is or was since.
  bool IsUntouched() const;

  // The sequence number that the next append gets now; that of the moment while nobody has
  // appended.
  std::uint64_t Next() const;

 private:
  const Descriptor& file_;
  const Medium& medium_;
  const CheckedMoment& moment_;
};

// What the parts of a check have in common.
struct CheckContext {
  const Medium& medium;
  const CheckedMoment& moment;
  const Stillness& stillness;
  Patience& patience;
  const FindingSink& sink;
};

}  // namespace packetdb::host
