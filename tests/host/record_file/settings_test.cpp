// Settings hold for the files that are opened while they are set.
#include "host/record_file/settings.h"

#include <gmock/gmock.h>

#include "tests/host/record_file/geometries.h"

namespace packetdb::host {
namespace {

using testing::ElementsAre;

class SettingsTest : public testing::Test {
 protected:
  ~SettingsTest() override { SetRecordFileSettings({}); }

  static RecordFileSettings ByCalls() {
    RecordFileSettings settings;
    settings.by_calls = true;
    return settings;
  }

  Disk disk_;
};

TEST_F(SettingsTest, FlushEverySecondOr64MebibytesUnlessToldOtherwise) {
  const RecordFileSettings settings = GetRecordFileSettings();
  EXPECT_EQ(settings.sync.mode, SyncMode::kPeriodic);
  EXPECT_EQ(settings.sync.interval, std::chrono::seconds(1));
  EXPECT_EQ(settings.sync.bytes, 64U << 20U);
  EXPECT_FALSE(settings.by_calls);
  EXPECT_FALSE(settings.verify_at_opening);
}

TEST_F(SettingsTest, AreThoseThatWereSetLast) {
  RecordFileSettings settings = ByCalls();
  settings.sync.mode = SyncMode::kEach;
  SetRecordFileSettings(settings);
  EXPECT_EQ(GetRecordFileSettings().sync.mode, SyncMode::kEach);
  EXPECT_TRUE(GetRecordFileSettings().by_calls);
}

TEST_F(SettingsTest, ThoroughOpeningEndsWithItsScope) {
  SetRecordFileSettings(ByCalls());
  {
    const ThoroughOpening thorough;
    EXPECT_TRUE(GetRecordFileSettings().verify_at_opening);
    EXPECT_TRUE(GetRecordFileSettings().by_calls);
  }
  EXPECT_FALSE(GetRecordFileSettings().verify_at_opening);
  EXPECT_TRUE(GetRecordFileSettings().by_calls);
}

TEST_F(SettingsTest, ThoroughOpeningSkipsDamageFromTheBeginning) {
  const std::string path = MakeJournal(disk_, 3);
  DamageRecord(path, 1);
  CDbFile file;
  ASSERT_EQ(Open(file, path, kModeRead), kRecordFileOk);
  EXPECT_EQ(file.RecordCount(), 3) << "nobody has looked yet";
  const ThoroughOpening thorough;
  ASSERT_EQ(Open(file, path, kModeRead), kRecordFileOk);
  EXPECT_EQ(file.RecordCount(), 2);
  EXPECT_THAT(Values(file), ElementsAre(1, 3));
}

TEST_F(SettingsTest, AFileChangedByCallsIsTheSameAsAMappedOne) {
  SetRecordFileSettings(ByCalls());
  const std::string path = MakeJournal(disk_, 5);
  CDbFile file;
  ASSERT_EQ(Open(file, path, kModeWrite), kRecordFileOk);
  ASSERT_EQ(Append(file, 6), 5);
  ASSERT_EQ(Overwrite(file, 4, 50), kRecordFileOk);
  EXPECT_EQ(Overwrite(file, 0, 1), kDeadTicket);
  EXPECT_THAT(Values(file), ElementsAre(4, 50, 6));
  file.Done();
  SetRecordFileSettings({});
  EXPECT_THAT(Reopen(path).values, ElementsAre(4, 50, 6));
}

}  // namespace
}  // namespace packetdb::host
