// `packetdb check --rescue`.
#include <filesystem>
#include <gmock/gmock.h>

#include "host/cli/check_command.h"
#include "host/cli/dump_command.h"
#include "host/cli/usage_error.h"
#include "host/record_file/layout.h"
#include "tests/host/cli/examining.h"
#include "tests/host/journals/support.h"

namespace packetdb::host::test {
namespace {

using testing::HasSubstr;

class Rescuing : public Examining {
 protected:
  Rescuing() {
    options_.path = path_;
    options_.rescue.to = saved_;
  }

  Ran RunIt() const {
    return Observe([this] { return RunCheck(options_); });
  }
  nlohmann::json Json() {
    options_.output = "json";
    const Ran ran = RunIt();
    EXPECT_EQ(ran.status, kExitOk) << ran.err;
    return nlohmann::json::parse(ran.out);
  }
  void WipeTheFront() { Overwrite(path_, 0, std::string(kCellsOffset, '\0')); }

  const std::string saved_ = directory_.Path("saved.journal");
  CheckOptions options_;
};

TEST_F(Rescuing, SavesTheRecordsOfAJournalWithoutAFront) {
  Store(path_, {RecordAt(0), RecordAt(1), RecordAt(2)});
  WipeTheFront();
  const Ran ran = RunIt();
  EXPECT_EQ(ran.status, kExitOk) << ran.err;
  EXPECT_THAT(ran.out, HasSubstr("records       of 72 bytes, with the magic "
                                 "'Zolrak-Packet-Database-4'\n"));
  EXPECT_THAT(ran.out, HasSubstr(", computed from the records\n"
                                 "slots         4128: 3 whole, 4125 never written, 0 damaged or "
                                 "unreadable\n"
                                 "room          4128 records, as many as it has slots: how many it "
                                 "kept is not known\n"
                                 "written       3 records to " +
                                 saved_ + "; numbers 0 to 2\n"));
  EXPECT_EQ(Observe([this] { return RunCheck({saved_, "text"}); }).status, kExitOk);
  EXPECT_THAT(Observe([this] {
                return RunDump({saved_, "text", "", ""});
              }).out,
              HasSubstr("record 2, "));
}

TEST_F(Rescuing, TellsTheSameAsJson) {
  Store(path_, {RecordAt(0), RecordAt(1), RecordAt(2)});
  Overwrite(path_, kCellsOffset + 80, "y");
  nlohmann::json rescue = Json();
  rescue.erase("seed");
  EXPECT_EQ(rescue, nlohmann::json::parse(R"({
    "magic": "Zolrak-Packet-Database-4", "record_size": 72, "seed_computed": false,
    "capacity": 10, "capacity_known": true, "slots": 4128, "slots_whole": 2, "slots_empty": 4125,
    "slots_damaged": 1, "records_older": 0, "records_repeated": 0, "records_missing": 1,
    "records_written": 2, "first_record": 1, "last_record": 2,
    "file": ")" + path_ + R"(", "rescued_to": ")" +
                                          saved_ + R"("})"));
}

TEST_F(Rescuing, TellsWhatItLeavesOut) {
  Store(path_, {RecordAt(0), RecordAt(1), RecordAt(2), RecordAt(3), RecordAt(4)}, 3);
  Overwrite(path_, kCellsOffset + 3 * 80, "y");
  const Ran ran = RunIt();
  EXPECT_THAT(ran.out, HasSubstr("left out      2 that newer ones had replaced, 0 there twice\n"
                                 "missing       1 record between numbers 2 and 4; those before a "
                                 "gap move up\n"
                                 "room          3 records\n"));
}

TEST_F(Rescuing, AJournalWithoutABoundStaysOne) {
  Store(path_, {RecordAt(0)}, kWithoutBound);
  EXPECT_THAT(RunIt().out, HasSubstr("room          no bound\n"));
  std::filesystem::remove(saved_);
  EXPECT_TRUE(Json()["capacity"].is_null());
}

TEST_F(Rescuing, TakesWhatIsKnownOfTheFile) {
  Store(path_, {RecordAt(0), RecordAt(1)});
  const std::uint64_t seed = Json()["seed"];
  std::filesystem::remove(saved_);
  WipeTheFront();
  options_.rescue.seed = std::to_string(seed);
  options_.rescue.record_size = "72";
  options_.rescue.near = "0x80000000";
  EXPECT_EQ(Json()["seed_computed"], false);
}

TEST_F(Rescuing, RefusesWhatCannotBeKnown) {
  options_.rescue.seed = "0x100000000";
  EXPECT_THAT(WhatOf<UsageError>([this] { RunCheck(options_); }),
              HasSubstr("'0x100000000' is not a seed: give 0 to 4294967295"));
  options_.rescue.seed = "";
  options_.rescue.record_size = "0";
  EXPECT_THAT(WhatOf<UsageError>([this] { RunCheck(options_); }),
              HasSubstr("'0' is not a record size: give 1 to 504"));
}

TEST_F(Rescuing, SaysWhenNothingIsThere) {
  Store(path_, {});
  const Ran ran = RunIt();
  EXPECT_EQ(ran.status, kExitFailed);
  EXPECT_EQ(ran.out, "");
  EXPECT_THAT(ran.err, HasSubstr(path_ + ": no whole record was found in it; "));
  EXPECT_FALSE(std::filesystem::exists(saved_));
}

TEST_F(Rescuing, ReplacesNothing) {
  Store(path_, {RecordAt(0)});
  options_.rescue.to = path_;
  const Ran ran = RunIt();
  EXPECT_EQ(ran.status, kExitFailed);
  EXPECT_EQ(ran.err,
            "packetdb: " + path_ + ": something is there already; give the path of a new file\n");
}

TEST_F(Rescuing, SaysWhichFileCannotBeUsed) {
  Store(path_, {RecordAt(0)});
  options_.rescue.to = directory_.Path("no/such/file");
  EXPECT_THAT(RunIt().err, HasSubstr("no/such/file: the file or its folder does not exist\n"));
  options_.rescue.to = saved_;
  options_.path = directory_.Path("nothing");
  EXPECT_THAT(RunIt().err, HasSubstr("nothing: the file or its folder does not exist\n"));
}

}  // namespace
}  // namespace packetdb::host::test
