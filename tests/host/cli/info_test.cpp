#include <gmock/gmock.h>

#include "host/cli/info_command.h"
#include "host/cli/info_report.h"
#include "host/cli/usage_error.h"
#include "host/record_file/inspect.h"
#include "host/record_file/open.h"
#include "host/times/time_text.h"
#include "tests/host/cli/captured.h"
#include "tests/host/cli/examining.h"
#include "tests/host/journals/support.h"

namespace packetdb::host::test {
namespace {

using testing::HasSubstr;
using testing::Not;

class Info : public Examining {
 protected:
  Ran RunText() const {
    return Observe([this] { return RunInfo({path_, "text"}); });
  }
  std::string Text() const {
    const Ran ran = RunText();
    EXPECT_EQ(ran.status, kExitOk) << ran.err;
    return ran.out;
  }
  nlohmann::json Json() const {
    const Ran ran = Observe([this] { return RunInfo({path_, "json"}); });
    EXPECT_EQ(ran.status, kExitOk) << ran.err;
    return nlohmann::json::parse(ran.out);
  }
  // When the file was made.
  std::string MadeText() const {
    FileFacts facts;
    Descriptor file;
    EXPECT_EQ(OpenUnlocked(path_, Access::kRead, &file), kRecordFileOk);
    EXPECT_EQ(Inspect(file, &facts), kRecordFileOk);
    return LocalTime(static_cast<std::int64_t>(facts.superblock.created_ns / 1'000'000'000));
  }
  // The bytes of all packets, and more of them in the newest tenth: one every 10 seconds for 90
  // seconds, then one a second.
  std::vector<PacketDbItemPacked> Accelerating() const {
    std::vector<PacketDbItemPacked> records;
    for (std::uint32_t i = 0; i < 9; ++i) records.push_back(RecordAt(10 * i, 3));
    for (std::uint32_t i = 91; i <= 100; ++i) records.push_back(RecordAt(i, 3));
    return records;
  }
};

TEST_F(Info, TellsWhatAJournalHolds) {
  Store(path_, Accelerating(), 38);
  EXPECT_EQ(Text(), "file          " + path_ +
                        "\n"
                        "format        4, records of 72 bytes\n"
                        "layout        2, made " +
                        MadeText() +
                        "\n"
                        "size          368640 bytes\n"
                        "records       19 of 38, 50.0 % full; numbers 0 to 18\n"
                        "oldest        2020-09-13 12:26:40, first seen\n"
                        "newest        2020-09-13 12:28:20, last seen\n"
                        "time covered  1 min 40 s\n"
                        "packets       57, 3.0 in a record\n"
                        "recent rate   1.000 records a second: 10 in the newest tenth of the "
                        "time, 10 s\n"
                        "room          19 records, 19 s at the recent rate before the oldest is "
                        "overwritten\n"
                        "writer        none has it open\n"
                        "state         closed\n"
                        "flushed       all records\n");
}

TEST_F(Info, TellsTheSameAsJson) {
  Store(path_, Accelerating(), 38);
  nlohmann::json info = Json();
  EXPECT_EQ(LocalTime(info["created_unix"]), MadeText());
  info.erase("created");
  info.erase("created_unix");
  EXPECT_EQ(info, nlohmann::json::parse(R"({
    "format": "4", "layout_version": 2, "record_size": 72, "file_bytes": 368640, "writer": false,
    "state": "closed", "flushed_to": 19, "overwrites": 0, "overwrites_flushed": 0, "dropped": 0,
    "damaged_ever": 0, "lost_ever": 0, "searches": 0, "records_gone": 0, "records_damaged": 0,
    "records_lost": 0,
    "records": 19, "next_record": 19, "records_read": 19, "capacity": 38, "fill_percent": 50.0,
    "overwriting": false, "seconds_to_overwriting": 19, "seconds_kept": 38, "packets": 57,
    "oldest": "2020-09-13T12:26:40+00:00", "oldest_unix": 1600000000,
    "newest": "2020-09-13T12:28:20+00:00", "newest_unix": 1600000100, "covered_seconds": 100,
    "packets_per_record": 3.0, "recent_records": 10, "recent_seconds": 10, "recent_rate": 1.0,
    "file": ")" + path_ + R"("})"));
}

TEST_F(Info, TakesTheNewestTimeFromAnyRecord) {
  PacketDbItemPacked merged = RecordAt(0);
  merged.m_LastTime += 50;
  Store(path_, {merged, RecordAt(10)});
  EXPECT_EQ(Json()["newest_unix"], 1600000050);
  EXPECT_EQ(Json()["covered_seconds"], 50);
}

TEST_F(Info, SaysThatAFullRingIsOverwriting) {
  Store(path_, Accelerating(), 10);
  EXPECT_THAT(Text(), HasSubstr("records       10 of 10, 100.0 % full; numbers 9 to 18\n"));
  EXPECT_THAT(Text(), HasSubstr("none: every new record overwrites the oldest; one is kept for 10 "
                                "s at the recent rate\n"));
  EXPECT_EQ(Json()["overwriting"], true);
  EXPECT_EQ(Json()["seconds_to_overwriting"], 0);
}

TEST_F(Info, KnowsNoEndOfAFileWithoutABound) {
  Store(path_, Accelerating(), kWithoutBound);
  EXPECT_THAT(Text(), HasSubstr("records       19, no bound; numbers 0 to 18\n"));
  EXPECT_THAT(Text(), HasSubstr("room          no bound: nothing is ever overwritten"));
  const nlohmann::json info = Json();
  EXPECT_TRUE(info["capacity"].is_null());
  EXPECT_FALSE(info.contains("fill_percent"));
  EXPECT_FALSE(info.contains("overwriting"));
}

TEST_F(Info, AnEmptyJournalHasNoTimes) {
  Store(path_, {});
  EXPECT_THAT(Text(), HasSubstr("records       0 of 10, 0.0 % full\n"));
  EXPECT_THAT(Text(), HasSubstr("room          10 records\n"));
  EXPECT_THAT(Text(), Not(HasSubstr("oldest")));
  EXPECT_FALSE(Json().contains("oldest"));
  EXPECT_EQ(Json()["packets"], 0);
}

TEST_F(Info, OneSecondTellsNoRate) {
  Store(path_, {RecordAt(0), RecordAt(0)});
  EXPECT_THAT(Text(), HasSubstr("recent rate   not known"));
  EXPECT_FALSE(Json().contains("recent_rate"));
  EXPECT_FALSE(Json().contains("seconds_kept"));
}

TEST_F(Info, TimesThatGoBackTellNoRate) {
  Store(path_, {RecordAt(10), RecordAt(0)});
  EXPECT_FALSE(Json().contains("recent_rate"));
  EXPECT_EQ(Json()["covered_seconds"], 0);
}

TEST_F(Info, KnowsTheFormatsOfEarlierReleases) {
  Store(path_, Accelerating(), 38, JournalFormat::k41);
  EXPECT_THAT(Text(), HasSubstr("format        4.1, records of 64 bytes\n"));
  EXPECT_EQ(Json()["newest_unix"], 1600000100);
}

TEST_F(Info, TakesFirstSeenTimesOfFormat3) {
  Store(path_, Accelerating(), 38, JournalFormat::k3);
  EXPECT_EQ(Json()["format"], "3");
  EXPECT_EQ(Json()["packets"], 57);
  EXPECT_EQ(Json()["newest_unix"], 1600000100);
}

TEST_F(Info, CallsTheNewestTimeOfFormat3WhatItIs) {
  Store(path_, {RecordAt(0), RecordAt(5)}, 3, JournalFormat::k3);
  EXPECT_THAT(Text(), HasSubstr("newest        2020-09-13 12:26:45, first seen\n"));
  EXPECT_THAT(Text(), HasSubstr("room          1 record, "));
}

TEST_F(Info, ShowsASlowRateByTheHourOrTheDay) {
  constexpr std::uint32_t kHour = 3600;
  Store(path_, {RecordAt(0), RecordAt(10 * kHour)});
  EXPECT_THAT(Text(), HasSubstr("recent rate   1.000 records an hour: 1 in the newest tenth of "
                                "the time, 3600 s\n"));
  EXPECT_DOUBLE_EQ(Json()["recent_rate"].get<double>(), 1.0 / kHour);
  const std::string slower = directory_.Path("slower.journal");
  Store(slower, {RecordAt(0), RecordAt(480 * kHour)});
  EXPECT_THAT(Observe([&] {
                return RunInfo({slower, "text"});
              }).out,
              HasSubstr("recent rate   0.500 records a day: 1 in "));
}

TEST_F(Info, TellsThatAWriterHasItOpen) {
  CDbFile writer;
  OpenToWrite(writer, path_, JournalFormat::k4, 10);
  EXPECT_THAT(Text(), HasSubstr("writer        has it open\n"));
  EXPECT_EQ(Json()["writer"], true);
}

TEST_F(Info, CountsWhatWasOverwrittenMeanwhile) {
  CDbFile writer;
  OpenToWrite(writer, path_, JournalFormat::k4, 3);
  for (std::uint32_t i = 0; i < 3; ++i) AppendTo(writer, JournalFormat::k4, RecordAt(i, 5));
  Descriptor file;
  ASSERT_EQ(OpenUnlocked(path_, Access::kRead, &file), kRecordFileOk);
  Snapshot snapshot(file);
  ASSERT_EQ(snapshot.Begin(), kRecordFileOk);
  constexpr std::uint32_t kSlots = 4128;
  for (std::uint32_t i = 3; i <= kSlots; ++i) AppendTo(writer, JournalFormat::k4, RecordAt(i, 5));
  InfoReport info;
  info.facts = snapshot.facts();
  ASSERT_EQ(Summarise(snapshot, JournalFormat::k4, &info.summary), kRecordFileOk);
  EXPECT_EQ(info.summary.gone, 1U);
  EXPECT_EQ(info.summary.packets, 10U);
  EXPECT_EQ(info.summary.oldest, kStart + 1);
  EXPECT_THAT(Printed([&](std::FILE* out) { PrintInfoText(info, out); }),
              HasSubstr("not counted   1 record that newer ones replaced meanwhile\n"));
}

TEST_F(Info, TellsOfRecordsThatAreNotThere) {
  Store(path_, {RecordAt(0), RecordAt(1), RecordAt(2), RecordAt(3)});
  Overwrite(path_, kCellsOffset + 80, "y");
  Overwrite(path_, kCellsOffset + 160, std::string(80, '\0'));
  EXPECT_THAT(Text(), HasSubstr("not there     2 records: 1 damaged, 1 lost in a power cut\n"));
  EXPECT_EQ(Json()["records_damaged"], 1);
  EXPECT_EQ(Json()["records_lost"], 1);
}

TEST_F(Info, ShowsAnyPath) {
  const std::string odd = directory_.Path("a\n\xff.journal");
  Store(odd, {RecordAt(0)});
  const Ran text = Observe([&] { return RunInfo({odd, "text"}); });
  EXPECT_THAT(text.out, HasSubstr("a\\x0a\\xff.journal\n"));
  const Ran json = Observe([&] { return RunInfo({odd, "json"}); });
  EXPECT_EQ(nlohmann::json::parse(json.out)["file"], directory_.Path("a\n\xef\xbf\xbd.journal"));
}

TEST_F(Info, RefusesARecordFileThatIsNoJournal) {
  CDbFile file;
  ASSERT_EQ(file.Init(path_, "Weather", 8, 10, 5), 0);
  file.Done();
  const Ran ran = RunText();
  EXPECT_EQ(ran.status, kExitFailed);
  EXPECT_EQ(ran.out, "");
  EXPECT_EQ(ran.err, "packetdb: " + path_ +
                         ": it is a record file, but no journal: its magic is 'Weather' and its "
                         "records have 8 bytes\n");
}

TEST_F(Info, SaysWhatIsWrongWithThePath) {
  for (const std::string& path : {std::string(), std::string("a\0b", 3), std::string(5000, 'x')}) {
    const Ran ran = Observe([&] { return RunInfo({path, "text"}); });
    EXPECT_EQ(ran.status, kExitFailed);
    EXPECT_THAT(ran.err, HasSubstr("the path is empty, too long or contains a NUL\n"));
  }
}

TEST_F(Info, NoPathIsTooLongForTheReason) {
  const Ran ran = Observe([] { return RunInfo({std::string(100000, 'x') + "end", "text"}); });
  EXPECT_LT(ran.err.size(), 1000U);
  EXPECT_THAT(ran.err, HasSubstr("xxx (cut: 99603 bytes more) xxx"));
  EXPECT_THAT(ran.err, HasSubstr("end: the path is empty, too long or contains a NUL\n"));
}

TEST_F(Info, AMissingJournalWhoseConversionWasInterruptedSaysSo) {
  Store(path_ + ".~old", {RecordAt(0)}, 10, JournalFormat::k3);
  EXPECT_THAT(RunText().err, HasSubstr("complete it with packetdb convert " + path_ + "\n"));
}

TEST_F(Info, RefusesAnUnknownOutputFormat) {
  EXPECT_EQ(WhatOf<UsageError>([&] {
              RunInfo({path_, "xml"});
            }),
            "'xml' is not an output format: give text or json");
}

}  // namespace
}  // namespace packetdb::host::test
