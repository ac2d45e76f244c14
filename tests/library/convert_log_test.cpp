// What a conversion says in the log, all of it at level 5, and in the system log.
#include <string>

#include "tests/library/convert_fixture.h"

namespace packetdb::test {
namespace {

class ConvertLog : public ConvertEither {
 protected:
  std::string Creating(const std::string& mode) const {
    return "Creating V4 temporary PacketDB with path " + temporary_ + " [{x4:" + mode + "}]";
  }
  std::string Counted(const std::string& copied, const std::string& of) const {
    return format().ending + std::string(", totally processed ") + copied + " records from " + of;
  }
  Strings Lines(int max_records = 1000, int mode = 5) {
    Log().Forget();
    Log().SetLevel(5);
    Convert(max_records, mode);
    return Log().Texts(5);
  }
};

INSTANTIATE_TEST_SUITE_P(Either, ConvertLog, BothFormats(), FormatName);

TEST_P(ConvertLog, TellsEachStep) {
  PutOld(3);
  EXPECT_EQ(Lines(), (Strings{Creating("7"), "V4 DB created, converting", Counted("3", "3")}));
  EXPECT_EQ(Log().Lines().size(), 3u) << "nothing at another level";
}

TEST_P(ConvertLog, TellsOfAnEmptyFile) {
  PutOld(0);
  EXPECT_EQ(Lines(), (Strings{Creating("7"), "V4 DB created, converting", Counted("0", "0")}));
}

TEST_P(ConvertLog, ShowsTheModeInHexadecimal) {
  for (const auto& [mode, shown] : {std::pair(0, "2"), {0x1d, "1f"}, {0x7ffffff1, "7ffffff3"}}) {
    Start();
    PutOld(0);
    Calls().Script("Init", {0, -9});
    EXPECT_EQ(Lines(10, mode).front(), Creating(shown));
  }
}

TEST_P(ConvertLog, TellsHowManyWereCopiedBeforeAFailure) {
  for (const char* const operation : {"ReadRecord", "AppendRecord"}) {
    Start();
    PutOld(3);
    Calls().Script(operation, {0, -1});
    EXPECT_EQ(Lines().back(), Counted("1", "3")) << operation;
  }
}

TEST_P(ConvertLog, TellsWhyTheNewFileCouldNotBeMade) {
  for (const int code : {-6, -28}) {
    Start();
    PutOld(3);
    Calls().Script("Init", {0, code});
    EXPECT_EQ(Lines(), (Strings{Creating("7"), "Failed (errcode: " + std::to_string(code) + ")"}));
  }
}

TEST_P(ConvertLog, SaysNothingOfAFileOfAnotherFormat) {
  Files().Put(path_, kMagic4, 72, {});
  EXPECT_EQ(Lines(), Strings{});
  EXPECT_EQ(Log().Lines().size(), 0u);
  EXPECT_EQ(Calls().CountOf("slput"), 0);
}

TEST_P(ConvertLog, LinesAreOfLevelFive) {
  PutOld(3);
  Log().SetLevel(4);
  Convert();
  EXPECT_TRUE(Log().Attempts().empty());
}

TEST_P(ConvertLog, LinesNameTheSourceOfStorages) {
  PutOld(1);
  Lines();
  for (const auto& line : Log().Lines()) EXPECT_EQ(line.file, "src/storage");
}

// Only what the log shows is asked for in addition.
TEST_P(ConvertLog, AsksForTheNumberOnceMoreForItsLine) {
  PutOld(2);
  const auto number = [this](int level) {
    Start();
    PutOld(2);
    Log().SetLevel(level);
    Convert();
    return Calls().CountOf("2 RecordCount");
  };
  EXPECT_EQ(number(4), 3);
  EXPECT_EQ(number(5), 4);
}

TEST_P(ConvertLog, NoticeGoesToTheSystemLogWhateverTheLevel) {
  for (const int level : {0, 5}) {
    Start();
    PutOld(2);
    Log().SetLevel(level);
    Convert();
    EXPECT_EQ(Calls().Of("slput"), Strings{Notice(format())}) << level;
  }
}

TEST_P(ConvertLog, NoticeIsGivenThoughTheNewFileCannotBeMade) {
  PutOld(2);
  Calls().Script("Init", {0, -28});
  Convert();
  EXPECT_EQ(Calls().Of("slput"), Strings{Notice(format())});
}

TEST_P(ConvertLog, ConvertsUnheardWhenTheFacilityRefusesItsLines) {
  PutOld(2);
  Log().SetLevel(5);
  Log().Refuse();
  Convert();
  EXPECT_EQ(JournalFile(), "Zolrak-Packet-Database-4 72 x2");
}

}  // namespace
}  // namespace packetdb::test
