// What a conversion would do, told without doing it.
#include "host/journals/conversion_plan.h"

#include <algorithm>
#include <filesystem>
#include <fmt/format.h>
#include <gmock/gmock.h>

#include "host/journals/conversion.h"
#include "host/journals/error.h"
#include "packetdb/journal_format.h"
#include "tests/host/journals/old_journals.h"
#include "tests/host/journals/support.h"
#include "tests/host/record_file/disk.h"

namespace packetdb::host::test {
namespace {

constexpr std::size_t kFrameSize = FrameSize(kFormat41RecordSize);

using testing::HasSubstr;

class PlannedConversion : public testing::Test {
 protected:
  ConversionPlan Plan() const {
    const auto before = Snapshot(group_.directory());
    const ConversionPlan plan = PlanConversion(journal_, {});
    EXPECT_EQ(Snapshot(group_.directory()), before);
    return plan;
  }
  std::string Error(const ConversionWishes& wishes = {}) const {
    const auto before = Snapshot(group_.directory());
    const std::string error = WhatOf<JournalError>([&] { PlanConversion(journal_, wishes); });
    EXPECT_EQ(Snapshot(group_.directory()), before);
    return error;
  }

  const OldGroup group_;
  const std::string journal_ = group_.Path();
  const std::string old_ = group_.Path(".~old");
};

TEST_F(PlannedConversion, TellsFormatRecordsAndTheSizeOfTheNewFile) {
  for (const auto& [capacity, count] : {std::pair{10, 25},
                                        {1000, 101},
                                        {kNoBound, 0},
                                        {kNoBound, 5},
                                        {kNoBound, 14563},
                                        {kNoBound, 14564}}) {
    MakeOld(journal_, JournalFormat::k3, count, capacity);
    const ConversionPlan plan = Plan();
    EXPECT_EQ(plan.format, JournalFormat::k3);
    EXPECT_FALSE(plan.interrupted);
    EXPECT_EQ(ConvertIfOld(journal_, {})->records, plan.records);
    EXPECT_EQ(std::filesystem::file_size(journal_), plan.bytes_needed) << capacity << ' ' << count;
  }
}

TEST_F(PlannedConversion, OfTodaysJournalTakesNothing) {
  group_.Open();
  const ConversionPlan plan = Plan();
  EXPECT_EQ(plan.format, JournalFormat::k4);
  EXPECT_EQ(plan.records, 0U);
  EXPECT_EQ(plan.bytes_needed, 0U);
  EXPECT_FALSE(plan.interrupted);
}

TEST_F(PlannedConversion, NeedsAJournal) {
  EXPECT_EQ(Error(), "cannot open journal " + journal_ + ": the file or its folder does not exist");
}

TEST_F(PlannedConversion, TellsWhatStandsInTheWay) {
  MakeOld(journal_, JournalFormat::k41, 5);
  std::filesystem::create_directory(group_.Path(".~tmp"));
  EXPECT_EQ(Error(), group_.Path(".~tmp") + " is in the way: it is a directory; move it away");
  std::filesystem::remove(group_.Path(".~tmp"));
  WriteText(group_.Path(".pre-v4"), "precious");
  EXPECT_THAT(Error({.keep_old = true}), HasSubstr("something of that name"));
  EXPECT_EQ(Plan().records, 5U) << "it is not wanted";
}

TEST_F(PlannedConversion, TellsOfAnInterruptedOneThatHasToBeDoneAnew) {
  MakeOld(old_, JournalFormat::k41, 5);
  const ConversionPlan plan = Plan();
  EXPECT_TRUE(plan.interrupted);
  EXPECT_EQ(plan.format, JournalFormat::k41);
  EXPECT_EQ(plan.records, 5U);
  EXPECT_GT(plan.bytes_needed, 0U);
}

TEST_F(PlannedConversion, TellsOfAnInterruptedOneThatIsAsGoodAsDone) {
  MakeOld(journal_, JournalFormat::k41, 5);
  ConvertIfOld(journal_, {});
  MakeOld(old_, JournalFormat::k41, 5);
  const ConversionPlan plan = Plan();
  EXPECT_TRUE(plan.interrupted);
  EXPECT_EQ(plan.bytes_needed, 0U);
}

TEST_F(PlannedConversion, TellsOfOneThatLacksOnlyItsName) {
  group_.Open();
  std::filesystem::rename(journal_, group_.Path(".~tmp"));
  const ConversionPlan plan = Plan();
  EXPECT_TRUE(plan.interrupted);
  EXPECT_EQ(plan.format, JournalFormat::k4);
}

// An overwrite that a killed writer left half done is completed by who writes, not by who looks.
TEST_F(PlannedConversion, TellsThatAFileWithoutItsNameCannotHaveIt) {
  MakeOld(group_.Path(".~tmp"), JournalFormat::k3, 5);
  EXPECT_THAT(Error(), HasSubstr("cannot take its place"));
  std::filesystem::remove(group_.Path(".~tmp"));
  group_.Open();
  std::filesystem::rename(journal_, group_.Path(".~tmp"));
  std::filesystem::create_hard_link(group_.Path(".~tmp"), group_.Path(".another"));
  EXPECT_THAT(Error(), HasSubstr("in the way"));
}

TEST_F(PlannedConversion, TellsThatTheOldFileCannotBeKeptAlsoWhenTheRestIsDone) {
  MakeOld(old_, JournalFormat::k3, 5);
  MakeOld(journal_, JournalFormat::k3, 5);
  std::filesystem::rename(old_, group_.Path(".elsewhere"));
  group_.Open();
  std::filesystem::rename(group_.Path(".elsewhere"), old_);
  WriteText(group_.Path(".pre-v4"), "taken");
  EXPECT_THAT(Error({.keep_old = true}), HasSubstr("cannot be kept"));
}

TEST_F(PlannedConversion, LeavesAHalfDoneOverwriteToTheConversion) {
  MakeOld(journal_, JournalFormat::k41, 5);
  Bytes bytes = ReadBytes(journal_);
  StatePage state = StateOf(bytes);
  state.state = kOpen;
  std::copy_n(bytes.begin() + kCellsOffset, kFrameSize, state.redo.begin());
  PutState(state, &bytes);
  bytes[kCellsOffset + 3] ^= 1;  // torn
  WriteBytes(journal_, bytes);
  EXPECT_EQ(Plan().records, 5U);
  ASSERT_TRUE(ConvertIfOld(journal_, {}));
  EXPECT_EQ(NumbersIn(journal_, JournalFormat::k41), Numbers(0, 5));
}

// The largest old file there can be, made of a hole: the new one would be 194 GB of disk.
TEST_F(PlannedConversion, IsRefusedOnADiskThatHasNotTheSpace) {
  MakeOld(journal_, JournalFormat::k3, 1, 1);
  Bytes bytes = ReadBytes(journal_);
  Superblock block = SuperblockOf(bytes);
  block.capacity = kMaxRecords;
  block.slot_count = SlotCount(kMaxRecords, block.frames_per_cell);
  block.file_length = FileLength(block.slot_count, block.frames_per_cell);
  PutSoundSuperblock(block, &bytes);
  WriteBytes(journal_, bytes);
  std::filesystem::resize_file(journal_, block.file_length);
  const std::uint64_t slots = SlotCount(kMaxRecords, FramesPerCell(FrameSize(72)));
  const std::uint64_t needed = FileLength(slots, FramesPerCell(FrameSize(72)));
  const std::uintmax_t available = std::filesystem::space(journal_).available;
  const std::string error = WhatOf<JournalError>([&] { PlanConversion(journal_, {}); });
  EXPECT_EQ(error.find(fmt::format("it takes {} bytes", needed)) != std::string::npos,
            available < needed)
      << error;
}

TEST_F(PlannedConversion, IsRefusedForWantOfSpace) {
  EXPECT_THAT(WhatOf<JournalError>([&] { RequireSpace(journal_, ~std::uint64_t{0}); }),
              HasSubstr("it takes 18446744073709551615 bytes, and "));
}

}  // namespace
}  // namespace packetdb::host::test
