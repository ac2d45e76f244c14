#include "host/cli/import_clock.h"

#include <ctime>
#include <gtest/gtest.h>
#include <memory>

#include "packetdb/storage.h"

namespace packetdb::host::test {
namespace {

std::time_t CalendarNow() {
  std::timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  return now.tv_sec;
}

void ExpectCalendarTime() {
  const std::time_t before = CalendarNow();
  const std::time_t now = std::time(nullptr);
  EXPECT_LE(before, now);
  EXPECT_LE(now, CalendarNow());
}

class ImportClock : public testing::Test {
 protected:
  ~ImportClock() override { ReleaseImportClock(); }
};

TEST_F(ImportClock, AnswersTheCalendarTimeBeforeItIsSet) { ExpectCalendarTime(); }

TEST_F(ImportClock, StandsWhereItIsSet) {
  for (const std::int64_t seconds :
       {std::int64_t{0}, std::int64_t{315532800}, std::int64_t{-1}, std::int64_t{4610500095}}) {
    SetImportClock(seconds);
    EXPECT_EQ(std::time(nullptr), seconds);
    EXPECT_EQ(std::time(nullptr), seconds);
  }
}

TEST_F(ImportClock, AnswersTheCalendarTimeOnceItIsReleased) {
  SetImportClock(12345);
  ReleaseImportClock();
  ExpectCalendarTime();
}

TEST_F(ImportClock, FillsTheVariableOfTheCaller) {
  std::time_t now = 0;
  SetImportClock(12345);
  EXPECT_EQ(std::time(&now), 12345);
  EXPECT_EQ(now, 12345);
  ReleaseImportClock();
  EXPECT_EQ(std::time(&now), now);
  EXPECT_NE(now, 12345);
}

// An event that was first seen in the first second of 1980, in an index.
struct OneEvent {
  OneEvent() {
    index.Init(10);
    index.AddItem(index.NewItem(&item));
  }
  bool IsRemembered() { return index.FindItem(&item) != nullptr; }

  PacketDbItem item;
  DrvErrorItemsIndex index;
};

TEST_F(ImportClock, IsTheClockByWhichTheLibraryForgets) {
  OneEvent event;
  SetImportClock(std::int64_t{TIME_1980_OFFSET} + 59);
  event.index.RemoveExpiredItems(60);
  EXPECT_TRUE(event.IsRemembered());
  SetImportClock(std::int64_t{TIME_1980_OFFSET} + 60);
  event.index.RemoveExpiredItems(60);
  EXPECT_FALSE(event.IsRemembered());
}

TEST_F(ImportClock, LeavesTheLibraryTheCalendarBeforeAndAfter) {
  OneEvent event;
  SetImportClock(std::int64_t{TIME_1980_OFFSET});
  ReleaseImportClock();
  event.index.RemoveExpiredItems(60);
  EXPECT_FALSE(event.IsRemembered());
}

}  // namespace
}  // namespace packetdb::host::test
