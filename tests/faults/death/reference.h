// The record file as its contract tells it, in memory, without a file.
#pragma once

#include <cstdint>
#include <deque>
#include <map>

#include "tests/faults/death/view.h"

namespace packetdb::faults {

class Reference {
 public:
  // `first` is the sequence number of the first record ever appended; records are numbered like it.
  explicit Reference(unsigned long capacity, std::uint64_t first = 0)
      : capacity_(capacity), next_(first) {}

  // The ticket that the append must return.
  int Append();
  // Whether the overwrite must succeed; the record has the next version then.
  bool Overwrite(int ticket);
  // Keeps the newest; tickets stay as they are.
  void Resize(unsigned long capacity);

  // What the next append or overwrite stores. The ticket of an overwrite is IsLive.
  Identity ToAppend() const { return {.number = next_, .version = 0}; }
  Identity ToOverwrite(int ticket) const;

  bool IsLive(int ticket) const { return records_.count(ticket) != 0; }
  int TicketAt(std::size_t position) const { return tickets_[position]; }
  const Identity& At(std::size_t position) const { return records_.at(tickets_[position]); }
  std::size_t Count() const { return tickets_.size(); }
  std::uint64_t next() const { return next_; }
  View All() const;

 private:
  void Forget();

  unsigned long capacity_;
  std::uint64_t next_;
  std::deque<int> tickets_;          // of the records, oldest first
  std::map<int, Identity> records_;  // by ticket
};

}  // namespace packetdb::faults
