#include "host/cli/info_state.h"

#include <gtest/gtest.h>

#include "host/record_file/state.h"

namespace packetdb::host {
namespace {

StatePage In(FileState word) {
  StatePage state = MakeState(0, 0);
  state.state = word;
  return state;
}

TEST(InfoState, SaysWhetherAFileWasClosed) {
  EXPECT_EQ(LifeOf(In(kClosed), false), FileLife::kClosed);
  EXPECT_EQ(LifeOf(In(kOpen), true), FileLife::kOpen);
  EXPECT_EQ(LifeOf(In(kOpen), false), FileLife::kNotClosed);
  EXPECT_EQ(LifeOf(In(kFailed), true), FileLife::kFlushFailed);
  EXPECT_EQ(LifeOf(In(kFailed), false), FileLife::kFlushFailed);
  EXPECT_EQ(LifeOf(In(static_cast<FileState>(7)), false), FileLife::kDamaged);
  StatePage damaged = In(kClosed);
  damaged.next = 5;
  EXPECT_EQ(LifeOf(damaged, false), FileLife::kDamaged);
  EXPECT_EQ(LifeOf(damaged, true), FileLife::kClosed) << "the writer may be at the page";
}

TEST(InfoState, HasAWordAndATextForEach) {
  EXPECT_EQ(LifeWord(FileLife::kClosed), "closed");
  EXPECT_EQ(LifeWord(FileLife::kOpen), "open");
  EXPECT_EQ(LifeWord(FileLife::kNotClosed), "not_closed");
  EXPECT_EQ(LifeWord(FileLife::kFlushFailed), "flush_failed");
  EXPECT_EQ(LifeWord(FileLife::kDamaged), "damaged");
  EXPECT_EQ(LifeText(FileLife::kClosed), "closed");
  EXPECT_EQ(LifeText(FileLife::kOpen), "open: its writer has changed it");
  EXPECT_EQ(LifeText(FileLife::kNotClosed),
            "not closed: its writer died, or the machine stopped; the next writer sees to that");
  EXPECT_EQ(LifeText(FileLife::kFlushFailed),
            "a flush to the disk failed: what is not flushed is lost when the machine stops");
  EXPECT_EQ(LifeText(FileLife::kDamaged), "damaged; packetdb check tells more");
}

TEST(InfoState, CountsWhatWasDropped) {
  FileFacts facts;
  facts.state.overwritten_before = 7;
  facts.geometry.first_sequence = 100;
  EXPECT_EQ(Overwritten(facts, 120, 15), 12U);
}

TEST(InfoState, SaysWhichRecordsAreOnTheDisk) {
  StatePage state = In(kOpen);
  state.synced = 10;
  EXPECT_EQ(FlushedText(state, 10), "all records");
  EXPECT_EQ(FlushedText(state, 15), "those before number 10, not 5 newer");
}

TEST(InfoState, TellsOfLossesWhenThereWereAny) {
  StatePage state = In(kClosed);
  EXPECT_EQ(LossesText(state), "");
  state.generation = 1;
  state.damaged = 2;
  state.lost_unsynced = 3;
  EXPECT_EQ(LossesText(state), "2 records damaged, 3 lost in power cuts, ever; searched once");
  state.generation = 4;
  EXPECT_EQ(LossesText(state), "2 records damaged, 3 lost in power cuts, ever; searched 4 times");
}

}  // namespace
}  // namespace packetdb::host
