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
