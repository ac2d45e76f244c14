#include "tests/faults/limits/operations.h"

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "host/record_file/geometry.h"
#include "host/record_file/layout.h"

namespace packetdb::faults {
namespace {

constexpr unsigned long kOther = 4 * kSmallCapacity;
constexpr int kFew = 20;

void DoNothing(DrivenJournal&) {}

// A closed journal that has wrapped.
void Make(DrivenJournal& journal) {
  journal.Open();
  journal.AppendMany(2 * kSmallCapacity + kSmallCapacity / 2);
  journal.Close();
}

void MakeAndOpen(DrivenJournal& journal) {
  Make(journal);
  journal.Open();
  journal.LearnCapacity();
}

void MakeOpenAndChange(DrivenJournal& journal) {
  MakeAndOpen(journal);
  journal.AppendMany(kSmallCapacity / 3);
}

// What the file holds while it is open is what a killed process leaves.
void MakeAndKill(DrivenJournal& journal) {
  MakeOpenAndChange(journal);
  const std::string copy = journal.path() + ".copy";
  std::filesystem::copy_file(journal.path(), copy);
  std::filesystem::permissions(copy, std::filesystem::status(journal.path()).permissions());
  journal.Close();
  std::filesystem::rename(copy, journal.path());
}

// The same with another boot's identity in the file: all of it was on the disk in time.
void MakeAndStopMachine(DrivenJournal& journal) {
  MakeAndKill(journal);
  constexpr std::streamoff kBootId = host::kStateOffset + offsetof(host::StatePage, boot_id);
  std::fstream file(journal.path(), std::ios::binary | std::ios::in | std::ios::out);
  file.seekp(kBootId);
  file.write("an earlier boot.", host::kBootIdSize);
  if (!file.flush()) throw std::runtime_error(journal.path());
}

int Open(DrivenJournal& journal, Verdict*) { return journal.Open(); }

int Empty(DrivenJournal& journal, Verdict*) { return journal.Open(kModeAnew); }

int Resize(DrivenJournal& journal, unsigned long capacity) {
  journal.AskForCapacity(capacity);
  return journal.Open(kModeWrite);
}

int AppendMany(DrivenJournal& journal, int count) {
  int result = 0;
  for (int i = 0; i < count && result >= 0; ++i) result = journal.Append();
  return result;
}

int Append(DrivenJournal& journal, Verdict*) { return AppendMany(journal, kFew); }

// A file without a bound in which less than that is left of the last step by which it grew.
void MakeNearlyFull(DrivenJournal& journal) {
  journal.Open();
  journal.AppendMany(host::GrowthSlots(host::FramesPerCell(host::FrameSize(kRecordSize))) -
                     kFew / 2);
}

int Merge(DrivenJournal& journal, Verdict*) {
  int result = 0;
  for (int i = 0; i < kFew && result >= 0; ++i) result = journal.Merge();
  return result;
}

int Close(DrivenJournal& journal, Verdict*) {
  journal.Close();
  return 0;
}

int Read(DrivenJournal& journal, Verdict* verdict) {
  CDbFile reader;
  const int result = reader.Init(journal.path(), kMagic, kRecordSize, kSmallCapacity, kModeRead);
  if (result >= 0) journal.JudgeOpen("read by another", reader, verdict);
  return result;
}

int Reread(DrivenJournal& journal, Verdict* verdict) {
  journal.Close();
  return Read(journal, verdict);
}

}  // namespace

std::vector<Operation> Operations() {
  const auto grow = [](DrivenJournal& journal, Verdict*) { return Resize(journal, kOther); };
  const auto shrink = [](DrivenJournal& journal, Verdict*) {
    return Resize(journal, kSmallCapacity / 4);
  };
  return {
      {.name = "create",
       .capacity = kSmallCapacity,
       .prepare = DoNothing,
       .act = Open,
       .makes_file = true},
      {.name = "create without a bound",
       .capacity = kNoBound,
       .prepare = DoNothing,
       .act = Open,
       .makes_file = true},
      {.name = "empty", .capacity = kSmallCapacity, .prepare = Make, .act = Empty},
      {.name = "open", .capacity = kSmallCapacity, .prepare = Make, .act = Open},
      {.name = "open after a kill",
       .capacity = kSmallCapacity,
       .prepare = MakeAndKill,
       .act = Open},
      {.name = "open after a power cut",
       .capacity = kSmallCapacity,
       .prepare = MakeAndStopMachine,
       .act = Open},
      {.name = "grow", .capacity = kSmallCapacity, .prepare = Make, .act = grow},
      {.name = "shrink", .capacity = kSmallCapacity, .prepare = Make, .act = shrink},
      {.name = "append", .capacity = kSmallCapacity, .prepare = MakeAndOpen, .act = Append},
      {.name = "append without a bound",
       .capacity = kNoBound,
       .prepare = MakeNearlyFull,
       .act = Append},
      {.name = "merge", .capacity = kSmallCapacity, .prepare = MakeAndOpen, .act = Merge},
      {.name = "close", .capacity = kSmallCapacity, .prepare = MakeOpenAndChange, .act = Close},
      {.name = "read", .capacity = kSmallCapacity, .prepare = Make, .act = Reread},
      {.name = "read after a kill",
       .capacity = kSmallCapacity,
       .prepare = MakeAndKill,
       .act = Reread},
      {.name = "read beside a writer",
       .capacity = kSmallCapacity,
       .prepare = MakeAndOpen,
       .act = Read},
  };
}

std::vector<Way> Ways() {
  std::vector<Way> ways = {{"mapped", {}}, {"by calls", {}}, {"flushing each record", {}}};
  ways[1].settings.by_calls = true;
  ways[2].settings.sync.mode = host::SyncMode::kEach;
  return ways;
}

std::string NamesIn(const std::string& folder) {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    names.push_back(entry.path().filename().string());
  }
  std::sort(names.begin(), names.end());
  std::string all;
  for (const std::string& name : names) all += name + " ";
  return all;
}

}  // namespace packetdb::faults
