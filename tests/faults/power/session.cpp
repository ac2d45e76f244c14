#include "tests/faults/power/session.h"

#include <algorithm>
#include <filesystem>
#include <utility>

#include "tests/faults/power/flush_hook.h"

namespace packetdb::faults {
namespace {

// Also so seldom that the ring is lapped before it is flushed.
constexpr std::uint32_t kFlushEvery[] = {20, 60, 60, 10000};
constexpr std::uint32_t kCloseEvery[] = {50, 400, 10000};
constexpr std::uint32_t kCutEvery = 24;
constexpr std::uint32_t kCutAtFlushEvery = 2;
constexpr std::uint32_t kAgainEvery = 40;  // of the states; each makes many more
constexpr std::uint32_t kHarmEvery = 4;

}  // namespace

Session::Session(Simulation& simulation, std::string path, Promise promise, int depth)
    : simulation_(simulation),
      path_(std::move(path)),
      depth_(depth),
      subject_(simulation.NewSubject()),
      promise_(std::move(promise)) {
  promise_.capacity = kCapacity;
  ever_ = promise_.written;
  flush_every_ = kFlushEvery[simulation.random().Below(std::size(kFlushEvery))];
  close_every_ = kCloseEvery[simulation.random().Below(std::size(kCloseEvery))];
}

Session::~Session() {
  std::error_code ignored;
  std::filesystem::remove(path_, ignored);
}

void Session::Run(int operations) {
  FlushHook outer = ExchangeFlushHook([this](int file) { NoteFlush(file); });
  Open();
  for (int i = 0; i < operations && simulation_.WantsMore(); ++i) DoOne();
  subject_->Close();
  sectors_->Look();
  MaybeCutPower(1);
  ExchangeFlushHook(std::move(outer));
}

void Session::Open() {
  const bool is_there = std::filesystem::exists(path_);
  if (is_there && !sectors_) sectors_ = std::make_unique<SectorHistory>(path_);
  subject_->Open(path_, kCapacity);
  if (!sectors_) sectors_ = std::make_unique<SectorHistory>(path_);
  sectors_->Look();
  current_ = Versions();
  const Found found = subject_->Contents();
  for (const Label& label : found.records) {
    if (current_.end() == 0) current_.DropBelow(label.ordinal);
    current_.Set(label.ordinal, label.version);
  }
  next_ = current_.end();
  // What a recovery has not found must not come back later, among records that were appended since.
  promise_.written.CutTo(next_);
  is_known_ = true;
  session_.clear();
  tickets_.clear();
  MaybeCutPower(kCutAtFlushEvery);
}

void Session::DoOne() {
  test::Random& random = simulation_.random();
  if (random.OneIn(flush_every_)) {
    subject_->Flush();
  } else if (random.OneIn(close_every_)) {
    subject_->Close();
    Open();
  } else if (session_.empty() || !random.OneIn(3)) {
    Append();
  } else {
    Overwrite();
  }
  sectors_->Look();
  MaybeCutPower(kCutEvery);
}

// A number that was used before the last power cut is used again: the record gets a version that
// none with this number ever had.
void Session::Append() {
  const Label label = {next_, ever_.Of(next_) + 1};
  NoteWritten(label);
  tickets_.push_back(subject_->Append(MakeRecord(label)));
  session_.push_back(label.ordinal);
  current_.Set(label.ordinal, label.version);
  ++next_;
  current_.DropBelow(next_ < kCapacity ? 0 : next_ - kCapacity);
}

void Session::Overwrite() {
  const auto live = std::min(session_.size(), std::size_t{kCapacity});
  const std::size_t i =
      session_.size() - 1 - simulation_.random().Below(static_cast<std::uint32_t>(live));
  const Label label = {session_[i], ever_.Of(session_[i]) + 1};
  NoteWritten(label);
  subject_->Overwrite(tickets_[i], MakeRecord(label));
  current_.Set(label.ordinal, label.version);
}

void Session::NoteWritten(const Label& label) {
  ever_.Set(label.ordinal, label.version);
  promise_.written.Set(label.ordinal, label.version);
}

void Session::NoteFlush(int file) {
  if (!sectors_ || !sectors_->IsOf(file)) return;
  sectors_->Look();
  MaybeCutPower(kCutAtFlushEvery);
  sectors_->NoteFlush();
  if (is_known_) promise_.acknowledged = current_;
}

void Session::MaybeCutPower(std::uint32_t one_in) {
  if (cuts_ || !simulation_.WantsMore() || !simulation_.random().OneIn(one_in)) return;
  cuts_ = true;
  CutPower();
  cuts_ = false;
}

Promise Session::Owed() const {
  Promise owed = promise_;
  if (simulation_.options().control == SimulationControl::kUnflushed && is_known_) {
    owed.acknowledged = current_;
  }
  return owed;
}

void Session::CutPower() {
  test::Random& random = simulation_.random();
  Image image = sectors_->Draw(random);
  const Promise owed = Owed();
  simulation_.JudgeState(image, owed, depth_);
  if (depth_ < simulation_.options().depth && random.OneIn(kAgainEvery)) {
    simulation_.RunAgain(image, owed, depth_ + 1);
  }
  if (!random.OneIn(kHarmEvery)) return;
  const auto harm = static_cast<Harm>(random.Below(3));
  const std::set<std::uint64_t> victims = sectors_->HarmOne(harm, random, &image);
  Promise rest = owed;
  rest.may_be_missing = [&](std::uint64_t ordinal) { return victims.count(ordinal) != 0; };
  simulation_.JudgeHarmed(image, rest);
}

}  // namespace packetdb::faults
