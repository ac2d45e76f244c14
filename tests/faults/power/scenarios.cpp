#include "tests/faults/power/scenarios.h"

#include <filesystem>
#include <fmt/format.h>
#include <gtest/gtest.h>

#include "tests/faults/power/promise.h"
#include "tests/faults/power/state_page.h"
#include "tests/faults/power/subject.h"
#include "tests/host/journals/old_journals.h"
#include "tests/host/journals/support.h"

namespace packetdb::faults {
namespace {

constexpr std::uint64_t kCapacity = 1000;
constexpr std::uint64_t kFew = 40;  // records

std::string JournalIn(const std::string& folder) { return folder + "/journal"; }

// A journal of records that are each of version 1.
class RingScenario : public Scenario {
 public:
  // `before` records are there when somebody opens it with room for `capacity`, appends some and
  // closes it.
  RingScenario(std::string name, std::uint64_t before, std::uint64_t capacity)
      : Scenario(std::move(name)), before_(before), capacity_(capacity) {}

  void Prepare(const std::string& folder) override {
    if (before_ == 0) return;
    const std::unique_ptr<Subject> journal = MakeRecordFile();
    journal->Open(JournalIn(folder), kCapacity);
    Append(*journal, 0, before_);
    journal->Close();
  }

  void Act(const std::string& folder, volatile Progress& progress) override {
    const std::unique_ptr<Subject> journal = MakeRecordFile();
    journal->Open(JournalIn(folder), capacity_);
    progress.is_created = true;
    Append(*journal, before_, before_ + kFew);
    journal->Close();
    progress.is_closed = true;
  }

  std::vector<std::string> Judge(const std::string& folder, const Progress& progress) override {
    const bool must_be_there = before_ != 0 || progress.is_created;
    if (!std::filesystem::exists(JournalIn(folder))) {
      return must_be_there ? Complaints{"there is no journal"} : Complaints{};
    }
    return faults::Judge(Owed(progress), MakeRecordFile()->Recover(JournalIn(folder)));
  }

 private:
  using Complaints = std::vector<std::string>;

  static void Append(Subject& journal, std::uint64_t begin, std::uint64_t end) {
    for (std::uint64_t i = begin; i < end; ++i) journal.Append(MakeRecord({i, 1}));
  }

  Promise Owed(const Progress& progress) const {
    Promise promise;
    promise.capacity = std::min(capacity_, kCapacity);
    const std::uint64_t flushed = before_ + (progress.is_closed ? kFew : 0);
    promise.acknowledged.DropBelow(before_ - std::min(before_, kCapacity));
    for (std::uint64_t i = promise.acknowledged.begin(); i < flushed; ++i) {
      promise.acknowledged.Set(i, 1);
    }
    for (std::uint64_t i = 0; i < before_ + kFew; ++i) promise.written.Set(i, 1);
    return promise;
  }

  const std::uint64_t before_;
  const std::uint64_t capacity_;
};

// A group whose journal is of an earlier format, opened for writing.
class ConversionScenario : public Scenario {
 public:
  ConversionScenario(std::string name, host::JournalFormat format)
      : Scenario(std::move(name)), format_(format) {}

  void Prepare(const std::string& folder) override {
    host::test::WriteText(folder + "/lan.group", "packetdb-group 1\nwindow 60\n");
    host::test::MakeOld(OldJournalIn(folder), format_, kCount);
  }

  void Act(const std::string& folder, volatile Progress& progress) override {
    const host::GroupWriter writer(OptionsIn(folder));
    progress.is_created = true;
  }

  std::vector<std::string> Judge(const std::string& folder, const Progress& /*progress*/) override {
    try {
      const host::GroupWriter writer(OptionsIn(folder));
      if (writer.RecordCount() != kCount) {
        return {fmt::format("{} of {} records are there", writer.RecordCount(), kCount)};
      }
    } catch (const std::exception& error) {
      return {error.what()};
    }
    const bool are_right =
        host::test::NumbersIn(OldJournalIn(folder), format_) == host::test::Numbers(0, kCount) &&
        !testing::UnitTest::GetInstance()->Failed();
    if (are_right) return {};
    return {"the records are not those that were there"};
  }

 private:
  static constexpr int kCount = 101;

  static std::string OldJournalIn(const std::string& folder) { return folder + "/lan.journal"; }

  static host::GroupOptions OptionsIn(const std::string& folder) {
    host::GroupOptions options;
    options.directory = folder;
    options.group = "lan";
    return options;
  }

  const host::JournalFormat format_;
};

}  // namespace

std::vector<std::unique_ptr<Scenario>> AllScenarios() {
  std::vector<std::unique_ptr<Scenario>> all;
  all.push_back(std::make_unique<RingScenario>("create", 0, kCapacity));
  all.push_back(std::make_unique<RingScenario>("close", 700, kCapacity));
  all.push_back(std::make_unique<RingScenario>("shrink", 1500, 600));
  all.push_back(std::make_unique<RingScenario>("grow", 1500, 2000));
  all.push_back(std::make_unique<ConversionScenario>("convert-3", host::JournalFormat::k3));
  all.push_back(std::make_unique<ConversionScenario>("convert-4.1", host::JournalFormat::k41));
  return all;
}

}  // namespace packetdb::faults
