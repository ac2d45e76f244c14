#include "host/journals/file_life.h"

#include <gtest/gtest.h>

#include "host/record_file/state.h"

namespace packetdb::host {
namespace {

StatePage In(FileState word) {
  StatePage state = MakeState(0, 0);
  state.state = word;
  return state;
}

TEST(FileLifeTest, SaysWhetherAFileWasClosed) {
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

TEST(FileLifeTest, HasAWordAndATextForEach) {
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

TEST(FileLifeTest, CountsWhatWasDropped) {
  FileFacts facts;
  facts.state.overwritten_before = 7;
  facts.geometry.first_sequence = 100;
  EXPECT_EQ(Overwritten(facts, 120, 15), 12U);
}

}  // namespace
}  // namespace packetdb::host
