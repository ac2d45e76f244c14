// What a writer was told is stored, noted in memory that survives it.
#pragma once

#include <cstdint>

#include "tests/faults/death/shared_memory.h"
#include "tests/faults/death/view.h"

namespace packetdb::faults {

enum class Action : std::uint64_t { kNone, kAppend, kOverwrite };

// How a file differs from what it must hold.
struct Damage {
  std::uint64_t lost = 0;   // acknowledged records that are not there, or not at their position
  std::uint64_t torn = 0;   // records that are no record, or cannot be read
  std::uint64_t wrong = 0;  // records that are too old or were never written
  Damage& operator+=(const Damage& more);
  std::uint64_t Sum() const { return lost + torn + wrong; }
};

// Records are numbered from 0 on, in the order of their appends.
class Acknowledgements {
 public:
  // `capacity` records are kept by the file.
  explicit Acknowledgements(std::uint64_t capacity);

  // For the writer, around each operation. An append has version 0.
  void Announce(Action action, const Identity& identity);
  void Confirm();

  std::uint64_t next() const { return notes_->next; }  // number of the next append
  std::uint64_t Kept() const;                          // records that are there
  std::uint64_t VersionOf(std::uint64_t number) const;
  // Operations that returned; another thread or process may watch it.
  std::uint64_t done() const { return notes_->done; }
  bool InTheAct() const { return notes_->action != Action::kNone; }

  // For who looks after the writer's death. An announced operation that was not confirmed may be
  // there or not.
  Damage Compare(const View& view) const;
  // Goes on from what is there.
  void TakeOver(const View& view);

 private:
  struct Notes {
    std::uint64_t next;
    volatile std::uint64_t done;
    Action action;
    Identity identity;
  };

  std::uint64_t KeptBelow(std::uint64_t next) const;
  std::uint64_t EndOf(const View& view) const;
  bool MayHave(const Identity& identity) const;
  std::uint64_t& Version(std::uint64_t number) const { return versions_[number % (capacity_ + 1)]; }

  std::uint64_t capacity_;
  SharedMemory<Notes> notes_;
  // One more than is kept, so that an append in the act does not hide the oldest record's.
  SharedMemory<std::uint64_t> versions_;
};

}  // namespace packetdb::faults
