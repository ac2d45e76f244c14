// What a conversion asks of the record files, in which order, of which object, and how it ends when
// one of them fails.
#include <string>

#include "tests/library/convert_fixture.h"

namespace packetdb::test {
namespace {

class ConvertCalls : public ConvertEither {
 protected:
  // The two files open, and the notice between them.
  Strings Opening() const {
    return {"2 CDbFile()", OldInit(format()), Notice(format()), NewInit()};
  }
  static Strings Copied(int position) {
    return {"2 RecordCount()", "2 ReadRecord(" + std::to_string(position) + ")",
            "1 AppendRecord()"};
  }
  static Strings Closing() { return {"2 Done()", "2 ~CDbFile()", "1 Done()"}; }
  static Strings Join(std::initializer_list<Strings> lists) {
    Strings all;
    for (const auto& list : lists) all.insert(all.end(), list.begin(), list.end());
    return all;
  }
};

INSTANTIATE_TEST_SUITE_P(Either, ConvertCalls, BothFormats(), FormatName);

TEST_P(ConvertCalls, CopiesRecordByRecordAndAsksForTheNumberBeforeEach) {
  PutOld(2);
  EXPECT_EQ(CallsOf([this] { Convert(); }),
            Join({Opening(), Copied(0), Copied(1), {"2 RecordCount()"}, Closing()}));
}

TEST_P(ConvertCalls, CopiesNothingOfAnEmptyFile) {
  PutOld(0);
  EXPECT_EQ(CallsOf([this] { Convert(); }), Join({Opening(), {"2 RecordCount()"}, Closing()}));
}

TEST_P(ConvertCalls, PassesOnCapacityAndMode) {
  PutOld(0);
  Convert(7, 1);
  EXPECT_EQ(Calls().All()[1], InitCall(2, path_, format().magic, format().record_size, "7", 1));
  EXPECT_EQ(Calls().All()[3], InitCall(1, temporary_, kMagic4, 72, "7", 3));
}

TEST_P(ConvertCalls, WidensANegativeCapacityWithItsSign) {
  PutOld(0);
  Convert(-1, 1);
  const std::string unbounded = "18446744073709551615";
  EXPECT_EQ(Calls().All()[1],
            InitCall(2, path_, format().magic, format().record_size, unbounded, 1));
  EXPECT_EQ(Calls().All()[3], InitCall(1, temporary_, kMagic4, 72, unbounded, 3));
}

// A host may have more bits than ours and may set bit 2 itself.
TEST_P(ConvertCalls, AddsBit2AndKeepsTheOthers) {
  for (const auto& [mode, with_bit_2] : {std::pair(0x41, 0x43), {0x100, 0x102}, {0, 2}}) {
    Start();
    PutOld(0);
    Calls().Script("Init", {0, -9});
    Convert(10, mode);
    EXPECT_EQ(Calls().All()[1],
              InitCall(2, path_, format().magic, format().record_size, "10", mode));
    EXPECT_EQ(Calls().All()[3], InitCall(1, temporary_, kMagic4, 72, "10", with_bit_2));
  }
}

TEST_P(ConvertCalls, KeepsBit2ThatIsSetAlready) {
  Calls().Script("Init", {0, -9});
  Convert(10, 7);
  EXPECT_EQ(Calls().All()[1], InitCall(2, path_, format().magic, format().record_size, "10", 7));
  EXPECT_EQ(Calls().All()[3], InitCall(1, temporary_, kMagic4, 72, "10", 7));
}

TEST_P(ConvertCalls, DeletesTheOldFileWithoutDoneWhenItDoesNotOpen) {
  for (const int code : {-6, -1, -1000}) {
    Start();
    PutOld(2);
    Calls().Script("Init", {code});
    EXPECT_EQ(CallsOf([this] { EXPECT_EQ(Convert(), kNotOfTheFormat); }),
              (Strings{"2 CDbFile()", OldInit(format()), "2 ~CDbFile()"}));
    EXPECT_EQ(Names(), Strings{"journal"});
  }
}

TEST_P(ConvertCalls, PositiveResultOfOpeningIsSuccess) {
  PutOld(1);
  Calls().Script("Init", {3, 4});
  EXPECT_EQ(CallsOf([this] { Convert(); }),
            Join({Opening(), Copied(0), {"2 RecordCount()"}, Closing()}));
}

TEST_P(ConvertCalls, ClosesTheOldFileWhenTheNewOneCannotBeMade) {
  for (const int code : {-6, -1, -28}) {
    Start();
    PutOld(2);
    Calls().Script("Init", {0, code});
    EXPECT_EQ(CallsOf([this] { EXPECT_EQ(Convert(), kNotOfTheFormat); }),
              Join({Opening(), {"2 Done()", "2 ~CDbFile()"}}));
    EXPECT_EQ(Names(), Strings{"journal"});
    EXPECT_EQ(Files().Find(path_)->records, OldRecords(format(), 2));
  }
}

TEST_P(ConvertCalls, LeavesWhatLiesAtTheTemporaryPathWhenTheNewFileCannotBeMade) {
  PutOld(2);
  Files().Put(temporary_, "left behind", 3, {"abc"});
  Calls().Script("Init", {0, -28});
  Convert();
  EXPECT_EQ(Names(), (Strings{"journal", "journal.~tmp"}));
  EXPECT_EQ(Files().Find(temporary_)->records.front(), "abc");
}

TEST_P(ConvertCalls, EmptiesWhatLiesAtTheTemporaryPath) {
  PutOld(2);
  Files().Put(temporary_, kMagic4, 72, {std::string(72, 'x')});
  Convert();
  EXPECT_EQ(JournalFile(), "Zolrak-Packet-Database-4 72 x2");
}

TEST_P(ConvertCalls, StopsAtARecordThatCannotBeRead) {
  PutOld(3);
  Calls().Script("ReadRecord", {0, -1});
  EXPECT_EQ(CallsOf([this] { Convert(); }),
            Join({Opening(), Copied(0), {"2 RecordCount()", "2 ReadRecord(1)"}, Closing()}));
  EXPECT_EQ(JournalFile(), "Zolrak-Packet-Database-4 72 x1");
}

TEST_P(ConvertCalls, StopsAtARecordThatCannotBeWritten) {
  PutOld(3);
  Calls().Script("AppendRecord", {0, -1});
  EXPECT_EQ(CallsOf([this] { Convert(); }), Join({Opening(), Copied(0), Copied(1), Closing()}));
  EXPECT_EQ(JournalFile(), "Zolrak-Packet-Database-4 72 x1");
}

TEST_P(ConvertCalls, OldFileIsReplacedEvenWhenNothingCouldBeCopied) {
  PutOld(3);
  Calls().Script("ReadRecord", {-1});
  Convert();
  EXPECT_EQ(Names(), Strings{"journal"});
  EXPECT_EQ(JournalFile(), "Zolrak-Packet-Database-4 72 x0");
}

TEST_P(ConvertCalls, PositiveResultsOfReadingAndWritingAreSuccess) {
  PutOld(2);
  Calls().Script("ReadRecord", {60, 60});
  Calls().Script("AppendRecord", {100, 200});
  EXPECT_EQ(CallsOf([this] { Convert(); }),
            Join({Opening(), Copied(0), Copied(1), {"2 RecordCount()"}, Closing()}));
}

TEST_P(ConvertCalls, LeavesTheStorageClosed) {
  PutOld(2);
  Convert();
  EXPECT_EQ(storage_->RecordCount(), 0);
  EXPECT_FALSE(Files().Find(path_)->has_writer);
}

TEST_P(ConvertCalls, LosingTheNoticeDoesNotMatter) {
  PutOld(2);
  Calls().Script("slput", {-1});
  EXPECT_GE(Convert(), 0);
  EXPECT_EQ(JournalFile(), "Zolrak-Packet-Database-4 72 x2");
}

class ConvertRefusal : public ConvertTest {};

TEST_F(ConvertRefusal, BothRefuseAJournalOfToday) {
  Files().Put(path_, kMagic4, 72, {std::string(72, 'x')});
  EXPECT_EQ(Convert(kFormat3), kNotOfTheFormat);
  EXPECT_EQ(Convert(kFormat41), kNotOfTheFormat);
  EXPECT_EQ(JournalFile(), "Zolrak-Packet-Database-4 72 x1");
  EXPECT_EQ(Calls().CountOf("slput"), 0);
}

TEST_F(ConvertRefusal, BothRefuseAnotherMagic) {
  for (const std::size_t size : {60u, 64u, 72u}) {
    Files().Put(path_, "Zolrak-Packet-Database-5", size, {std::string(size, 'x')});
    EXPECT_EQ(Convert(kFormat3), kNotOfTheFormat) << size;
    EXPECT_EQ(Convert(kFormat41), kNotOfTheFormat) << size;
  }
}

TEST_F(ConvertRefusal, EachRefusesTheOthersFormat) {
  PutOld(kFormat3, 1);
  EXPECT_EQ(Convert(kFormat41), kNotOfTheFormat);
  PutOld(kFormat41, 1);
  EXPECT_EQ(Convert(kFormat3), kNotOfTheFormat);
  EXPECT_EQ(Names(), Strings{"journal"});
}

TEST_F(ConvertRefusal, RefusesEachMagicWithTheOthersRecordSize) {
  Files().Put(path_, kFormat3.magic, 64, {std::string(64, 'x')});
  EXPECT_EQ(Convert(kFormat3), kNotOfTheFormat);
  EXPECT_EQ(Convert(kFormat41), kNotOfTheFormat);
  Files().Put(path_, kFormat41.magic, 60, {std::string(60, 'x')});
  EXPECT_EQ(Convert(kFormat3), kNotOfTheFormat);
  EXPECT_EQ(Convert(kFormat41), kNotOfTheFormat);
}

TEST_F(ConvertRefusal, MissingFileIsRefusedAndNotMade) {
  EXPECT_EQ(Convert(kFormat3, 10, 1), kNotOfTheFormat);
  EXPECT_EQ(Convert(kFormat41, 10, 1), kNotOfTheFormat);
  EXPECT_EQ(Names(), Strings{});
}

}  // namespace
}  // namespace packetdb::test
