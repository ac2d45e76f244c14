#include "tests/faults/limits/driven_journal.h"

#include <algorithm>
#include <fcntl.h>
#include <fmt/format.h>
#include <stdexcept>
#include <utility>

#include "host/record_file/check.h"
#include "host/record_file/probe.h"
#include "host/record_file/result.h"

namespace packetdb::faults {
namespace {

constexpr std::uint64_t kMergedNewest = 5;  // merges go to one of so many newest records
constexpr std::uint64_t kAppendsPerMerge = 3;
constexpr std::uint64_t kVersionFactor = 1000003;
constexpr std::size_t kRoomToRemember = 100000;
constexpr std::uint64_t kNone = ~std::uint64_t{0};

}  // namespace

DrivenJournal::DrivenJournal(std::string path, unsigned long capacity)
    : path_(std::move(path)), capacity_(capacity) {
  // Remembering must not need memory while there is none to be had.
  versions_.reserve(kRoomToRemember);
  tickets_.reserve(kRoomToRemember);
}

int DrivenJournal::Open(int mode) {
  const bool empties = mode == kModeAnew;
  is_open_ = false;
  const int result = file_.Init(path_, kMagic, kRecordSize, capacity_, mode);
  if (empties && result >= 0) ForgetAll();
  if (empties && result < 0) may_be_empty_ = true;
  knows_kept_ = false;
  is_open_ = result >= 0;
  return result;
}

void DrivenJournal::Close() {
  file_.Done();
  is_open_ = false;
}

int DrivenJournal::Append() {
  if (!knows_kept_) LearnCapacity();
  const int ticket = file_.AppendRecord(MakeRecord(versions_.size(), 0).data());
  if (ticket < 0) return ticket;
  versions_.push_back(0);
  tickets_.push_back(ticket);
  if (kept_ != 0 && versions_.size() > kept_) {
    oldest_ = std::max(oldest_, versions_.size() - kept_);
  }
  return ticket;
}

int DrivenJournal::Merge() {
  if (!knows_kept_) LearnCapacity();
  const std::uint64_t live = versions_.size() - oldest_;
  const std::uint64_t back = last_version_ % std::min(live, kMergedNewest);
  const std::uint64_t number = versions_.size() - 1 - back;
  const std::uint64_t version = ++last_version_;
  const int result = file_.WriteRecord(tickets_[number], MakeRecord(number, version).data());
  if (result >= 0) versions_[number] = version;
  if (result < 0) doubt_ = {number, version};
  return result;
}

void DrivenJournal::AppendMany(std::uint64_t count) {
  for (std::uint64_t i = 0; i < count; ++i) {
    int result = Append();
    if (result >= 0 && i % kAppendsPerMerge == 0) result = Merge();
    if (result < 0) throw std::runtime_error(fmt::format("{}: {}", path_, Describe(result)));
  }
}

void DrivenJournal::Judge(const std::string& when, Verdict* verdict) {
  Close();
  const std::string damage = DamageOf(path_);
  verdict->Require(damage.empty(), fmt::format("{}: a check finds nothing, but: {}", when, damage));
  LearnCapacity();
  CDbFile reader;
  int result = reader.Init(path_, kMagic, kRecordSize, capacity_, kModeRead);
  verdict->Require(result >= 0, fmt::format("{}: a reader gets in: {}", when, Describe(result)));
  if (result >= 0) JudgeOpen(when + ", reading", reader, verdict);
  reader.Done();
  result = Open(kModeWrite);
  verdict->Require(result >= 0, fmt::format("{}: a writer gets in: {}", when, Describe(result)));
  LearnCapacity();
  if (result >= 0) JudgeOpen(when + ", writing", file_, verdict);
  Close();
}

bool DrivenJournal::JudgeOpen(const std::string& when, CDbFile& file, Verdict* verdict) {
  const auto count = static_cast<std::uint64_t>(file.RecordCount());
  if (may_be_empty_ && count == 0) ForgetAll();
  const std::uint64_t expected = versions_.size() - oldest_;
  verdict->Require(count == expected,
                   fmt::format("{}: {} records are there, but: {}", when, expected, count));
  if (count != expected) return false;
  const std::uint64_t wrong = FirstWrong(file);
  verdict->Require(wrong == kNone, fmt::format("{}: record {} is right", when, wrong));
  return wrong == kNone;
}

std::uint64_t DrivenJournal::JudgeWhatIsLeft(const std::string& when, CDbFile& file,
                                             Verdict* verdict) const {
  std::uint64_t handed_out = 0;
  const int count = file.RecordCount();
  for (int position = 0; position < count; ++position) {
    Record record = {};
    if (file.ReadRecord(position, record.data()) < 0) continue;
    ++handed_out;
    const std::uint64_t number = NumberOf(record);
    verdict->Require(number < versions_.size() && IsRight(record, number),
                     fmt::format("{}: position {} is a record that was written", when, position));
  }
  return handed_out;
}

std::uint64_t DrivenJournal::FirstWrong(CDbFile& file) const {
  Record record = {};
  for (std::uint64_t number = oldest_; number < versions_.size(); ++number) {
    const int position = static_cast<int>(number - oldest_);
    if (file.ReadRecord(position, record.data()) < 0 || !IsRight(record, number)) return number;
  }
  return kNone;
}

void DrivenJournal::LearnCapacity() {
  host::RecordFileInfo info;
  if (host::ProbeRecordFile(path_, &info) < 0) return;
  knows_kept_ = true;
  kept_ = info.capacity;
  if (kept_ != 0 && versions_.size() > kept_) {
    oldest_ = std::max(oldest_, versions_.size() - kept_);
  }
}

void DrivenJournal::ForgetAll() {
  versions_.clear();
  tickets_.clear();
  oldest_ = 0;
  doubt_.reset();
  may_be_empty_ = false;
}

// Every word differs and depends on both, so that a torn record never looks whole.
DrivenJournal::Record DrivenJournal::MakeRecord(std::uint64_t number, std::uint64_t version) {
  Record record;
  for (std::size_t i = 0; i < record.size(); ++i) {
    record[i] = number * (2 * i + 1) + version * kVersionFactor * (2 * i + 3) + i;
  }
  return record;
}

std::uint64_t DrivenJournal::NumberOf(const Record& record) {
  const std::uint64_t version = (3 * record[0] - (record[1] - 1)) / 4;  // times kVersionFactor
  return record[0] - 3 * version;
}

bool DrivenJournal::IsRight(const Record& record, std::uint64_t number) const {
  if (record == MakeRecord(number, versions_[number])) return true;
  return doubt_ && doubt_->number == number && record == MakeRecord(number, doubt_->version);
}

std::string DamageOf(const std::string& path) {
  const host::Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
  std::string damage;
  const int result = host::CheckRecordFile(file, [&damage](const host::Finding& finding) {
    if (finding.severity != host::Severity::kDamage) return;
    damage += fmt::format("{} at byte {}: {}; ", finding.kind, finding.position, finding.text);
  });
  return result < 0 ? Describe(result) : damage;
}

std::string Describe(int result) {
  return fmt::format("{} ({})", result, host::DescribeRecordFileResult(result));
}

void RequireRefusal(const std::string& what, int result, Verdict* verdict) {
  verdict->Require(result < 0, fmt::format("{} is refused, but: {}", what, result));
  verdict->Require(host::DescribeRecordFileResult(result) != host::DescribeRecordFileResult(-1),
                   fmt::format("{} gives a known code, but: {}", what, result));
}

}  // namespace packetdb::faults
