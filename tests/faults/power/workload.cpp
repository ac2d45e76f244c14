#include "tests/faults/power/workload.h"

#include <algorithm>
#include <array>

namespace packetdb::faults {
namespace {

// The spare slots of a ring are fewer than the records of a burst.
constexpr std::uint32_t kBurst = 8000;
constexpr std::uint32_t kOrdinary = 4000;
constexpr std::uint32_t kFew = 40;

constexpr std::array<std::uint64_t, 3> kCapacities = {2000, 3000, 4500};

}  // namespace

void Workload::Run(const WorkloadPlan& plan) {
  Open();
  for (int round = 1; round <= plan.rounds; ++round) {
    Change(DrawOperations());
    subject_.Flush();
    Note();
    if (!random_.OneIn(6)) continue;
    if (random_.OneIn(2)) Change(DrawOperations());
    subject_.Close();
    Note();
    if (plan.resizes && random_.OneIn(2)) capacity_ = random_.OneOf(kCapacities);
    Open();
  }
  Change(kFew);
  subject_.Close();
  Note();
}

void Workload::Open() {
  subject_.Open(path_, capacity_);
  begin_ = std::max(begin_, next_ < capacity_ ? 0 : next_ - capacity_);
  session_.clear();
  tickets_.clear();
  Note();
}

void Workload::Note() {
  note_({begin_, capacity_, changes_});
  changes_.clear();
}

std::uint32_t Workload::DrawOperations() {
  if (random_.OneIn(10)) return kBurst;
  return random_.OneIn(4) ? kFew : kOrdinary;
}

void Workload::Change(std::uint32_t operations) {
  constexpr std::uint32_t kNudgeEvery = 1000;
  for (std::uint32_t i = 0; i < operations; ++i) {
    if (session_.empty() || !random_.OneIn(3)) {
      Append();
    } else {
      Overwrite();
    }
    if (random_.OneIn(kNudgeEvery)) subject_.Nudge();
  }
}

void Workload::Append() {
  const Label label = {next_, 1};
  tickets_.push_back(subject_.Append(MakeRecord(label)));
  session_.push_back(label);
  changes_.push_back(label);
  ++next_;
  begin_ = std::max(begin_, next_ < capacity_ ? 0 : next_ - capacity_);
}

void Workload::Overwrite() {
  const auto live = std::min<std::uint64_t>(session_.size(), next_ - begin_);
  const std::uint64_t i = session_.size() - 1 - random_.Below(static_cast<std::uint32_t>(live));
  Label& label = session_[i];
  ++label.version;
  subject_.Overwrite(tickets_[i], MakeRecord(label));
  changes_.push_back(label);
}

}  // namespace packetdb::faults
