#include "tests/faults/death/acknowledgements.h"

#include <algorithm>

namespace packetdb::faults {

Damage& Damage::operator+=(const Damage& more) {
  lost += more.lost;
  torn += more.torn;
  wrong += more.wrong;
  return *this;
}

Acknowledgements::Acknowledgements(std::uint64_t capacity)
    : capacity_(capacity), versions_(static_cast<std::size_t>(capacity) + 1) {}

void Acknowledgements::Announce(Action action, const Identity& identity) {
  notes_->identity = identity;
  KeepOrder();
  notes_->action = action;
  KeepOrder();
}

void Acknowledgements::Confirm() {
  KeepOrder();
  Version(notes_->identity.number) = notes_->identity.version;
  notes_->next = std::max(notes_->next, notes_->identity.number + 1);
  KeepOrder();
  notes_->action = Action::kNone;
  notes_->done = notes_->done + 1;
  KeepOrder();
}

std::uint64_t Acknowledgements::KeptBelow(std::uint64_t next) const {
  return std::min(next, capacity_);
}

std::uint64_t Acknowledgements::Kept() const { return KeptBelow(notes_->next); }

std::uint64_t Acknowledgements::VersionOf(std::uint64_t number) const { return Version(number); }

// An append in the act counts when its record is the newest.
std::uint64_t Acknowledgements::EndOf(const View& view) const {
  const bool appended = notes_->action == Action::kAppend && !view.empty() && view.back() &&
                        view.back()->number >= notes_->next;
  return notes_->next + (appended ? 1 : 0);
}

bool Acknowledgements::MayHave(const Identity& identity) const {
  if (notes_->action != Action::kNone && identity == notes_->identity) return true;
  return identity.number < notes_->next && identity.version == VersionOf(identity.number);
}

Damage Acknowledgements::Compare(const View& view) const {
  Damage damage;
  const std::uint64_t end = EndOf(view);
  const std::uint64_t kept = KeptBelow(end);
  if (view.size() < kept) damage.lost += kept - view.size();
  if (view.size() > kept) damage.wrong += view.size() - kept;
  for (std::uint64_t i = 0; i < std::min<std::uint64_t>(kept, view.size()); ++i) {
    const auto& record = view[view.size() - 1 - i];
    if (!record) {
      ++damage.torn;
    } else if (record->number != end - 1 - i) {
      ++damage.lost;
    } else if (!MayHave(*record)) {
      ++damage.wrong;
    }
  }
  return damage;
}

void Acknowledgements::TakeOver(const View& view) {
  notes_->next = EndOf(view);
  for (const auto& record : view) {
    if (record) Version(record->number) = record->version;
  }
  notes_->action = Action::kNone;
}

}  // namespace packetdb::faults
