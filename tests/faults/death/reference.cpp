#include "tests/faults/death/reference.h"

namespace packetdb::faults {
namespace {

constexpr std::uint64_t kTicketMask = 0x7FFFFFFF;

}  // namespace

int Reference::Append() {
  const int ticket = static_cast<int>(next_ & kTicketMask);
  tickets_.push_back(ticket);
  records_[ticket] = ToAppend();
  ++next_;
  Forget();
  return ticket;
}

bool Reference::Overwrite(int ticket) {
  if (!IsLive(ticket)) return false;
  records_[ticket] = ToOverwrite(ticket);
  return true;
}

void Reference::Resize(unsigned long capacity) {
  capacity_ = capacity;
  Forget();
}

Identity Reference::ToOverwrite(int ticket) const {
  const Identity& record = records_.at(ticket);
  return {.number = record.number, .version = record.version + 1};
}

View Reference::All() const {
  View view;
  for (const int ticket : tickets_) view.push_back(records_.at(ticket));
  return view;
}

void Reference::Forget() {
  while (tickets_.size() > capacity_) {
    records_.erase(tickets_.front());
    tickets_.pop_front();
  }
}

}  // namespace packetdb::faults
