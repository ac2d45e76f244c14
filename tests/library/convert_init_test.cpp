// Opening a journal of an earlier release: which converter is tried, what its result means, and
// what is open afterwards.
#include <string>
#include <unistd.h>

#include "tests/library/convert_fixture.h"

namespace packetdb::test {
namespace {

class ConvertInit : public ConvertTest {
 protected:
  // The record-file openings, in order.
  Strings Openings() const {
    Strings openings;
    for (const auto& call : Calls().All()) {
      if (call.find(" Init(") != std::string::npos) openings.push_back(call);
    }
    return openings;
  }
  bool IsOpen() const { return Files().Find(path_)->has_writer; }
};

TEST_F(ConvertInit, Format3IsConvertedAndOpened) {
  PutOld(kFormat3, 3);
  EXPECT_EQ(Init(), 0);
  EXPECT_EQ(Openings(), (Strings{JournalInit(), OldInit(kFormat3), NewInit(), JournalInit()}));
  EXPECT_TRUE(IsOpen());
  EXPECT_EQ(storage_->RecordCount(), 3);
  EXPECT_EQ(storage_->GetFileName(), path_);
  EXPECT_EQ(Names(), Strings{"journal"});
}

TEST_F(ConvertInit, Format3ThatCouldBeCopiedOnlyInPartIsOpenedWithThat) {
  PutOld(kFormat3, 3);
  Calls().Script("ReadRecord", {0, -1});
  EXPECT_EQ(Init(), 0);
  EXPECT_EQ(storage_->RecordCount(), 1);
}

TEST_F(ConvertInit, Format41IsTriedBehindFormat3) {
  PutOld(kFormat41, 1);
  EXPECT_EQ(Init(), 0);
  EXPECT_EQ(Openings(), (Strings{JournalInit(), OldInit(kFormat3), OldInit(kFormat41, 3), NewInit(),
                                 JournalInit()}));
  EXPECT_TRUE(IsOpen());
  EXPECT_EQ(storage_->RecordCount(), 1);
}

TEST_F(ConvertInit, EmptyFormat41IsOpened) {
  PutOld(kFormat41, 0);
  EXPECT_EQ(Init(), 0);
  EXPECT_TRUE(IsOpen());
}

TEST_F(ConvertInit, Format41OfSeveralRecordsEndsWithItsLastNumberAndIsNotOpened) {
  for (const int count : {2, 3, 100}) {
    Start();
    PutOld(kFormat41, count);
    EXPECT_EQ(Init(), count - 1);
    EXPECT_FALSE(IsOpen());
    EXPECT_EQ(storage_->RecordCount(), 0);
    EXPECT_EQ(JournalFile(), "Zolrak-Packet-Database-4 72 x" + std::to_string(count));
  }
}

TEST_F(ConvertInit, NextInitOpensWhatWasConverted) {
  PutOld(kFormat41, 3);
  ASSERT_EQ(Init(), 2);
  Calls().Forget();
  EXPECT_EQ(Init(), 0);
  EXPECT_EQ(Openings(), Strings{JournalInit()});
  EXPECT_EQ(storage_->RecordCount(), 3);
}

TEST_F(ConvertInit, EmptyFormat41EndsWithThePositiveResultOfItsNewFile) {
  PutOld(kFormat41, 0);
  Calls().Script("Init", {-6, -6, 0, 7});
  EXPECT_EQ(Init(), 7);
  EXPECT_FALSE(IsOpen());
}

TEST_F(ConvertInit, Format41EndsWithTheFailureOfItsCopy) {
  for (const char* const operation : {"ReadRecord", "AppendRecord"}) {
    Start();
    PutOld(kFormat41, 3);
    Calls().Script(operation, {0, -17});
    EXPECT_EQ(Init(), -17) << operation;
    EXPECT_FALSE(IsOpen());
    EXPECT_EQ(JournalFile(), "Zolrak-Packet-Database-4 72 x1");
  }
}

TEST_F(ConvertInit, Format3WhoseNewFileFailsIsOfferedToFormat41) {
  PutOld(kFormat3, 2);
  Calls().Script("Init", {-6, 0, -28});
  EXPECT_EQ(Init(), -6);
  EXPECT_EQ(Openings(),
            (Strings{JournalInit(), OldInit(kFormat3), NewInit(), OldInit(kFormat41, 3)}));
  EXPECT_EQ(Calls().Of("slput"), Strings{Notice(kFormat3)});
  EXPECT_EQ(Files().Find(path_)->records, OldRecords(kFormat3, 2));
}

TEST_F(ConvertInit, Format41WhoseNewFileFailsIsOfAnotherFormat) {
  PutOld(kFormat41, 2);
  Calls().Script("Init", {-6, -6, 0, -28});
  EXPECT_EQ(Init(), -6);
  EXPECT_EQ(Files().Find(path_)->records, OldRecords(kFormat41, 2));
}

TEST_F(ConvertInit, OtherFailuresConvertNothing) {
  for (const int code : {-1, -5, -7, -16}) {
    Start();
    PutOld(kFormat3, 2);
    Calls().Script("Init", {code});
    EXPECT_EQ(Init(), code);
    EXPECT_EQ(Openings(), Strings{JournalInit()});
    EXPECT_EQ(JournalFile(), "Zolrak-Packet-Database 60 x2");
  }
}

TEST_F(ConvertInit, FailureBehindTheConversionIsTheResult) {
  PutOld(kFormat3, 2);
  Calls().Script("Init", {-6, 0, 0, -28});
  EXPECT_EQ(Init(), -28);
  EXPECT_FALSE(IsOpen());
  EXPECT_EQ(JournalFile(), "Zolrak-Packet-Database-4 72 x2");
}

// A file that turns out to be old once more, as when another program puts it there.
TEST_F(ConvertInit, ConvertsAgainWhatIsStillOld) {
  PutOld(kFormat3, 1);
  Calls().Script("Init", {-6, 0, 0, -6, -6, -6});
  EXPECT_EQ(Init(), -6);
  EXPECT_EQ(Openings(), (Strings{JournalInit(), OldInit(kFormat3), NewInit(), JournalInit(),
                                 OldInit(kFormat3, 3), OldInit(kFormat41, 4)}));
}

TEST_F(ConvertInit, ConvertsThePathsModeAndCapacityThatItWasGiven) {
  PutOld(kFormat3, 5);
  EXPECT_EQ(Init(2, 1), 0);
  EXPECT_EQ(Openings(), (Strings{InitCall(1, path_, kMagic4, 72, "2", 1),
                                 InitCall(2, path_, kFormat3.magic, 60, "2", 1),
                                 InitCall(1, temporary_, kMagic4, 72, "2", 3),
                                 InitCall(1, path_, kMagic4, 72, "2", 1)}));
  EXPECT_EQ(storage_->RecordCount(), 2);
}

// The record file asks nobody about repeats: the index keeps what it held, and its capacity.
TEST_F(ConvertInit, ConversionForgetsNoRepeats) {
  Clock().SetSince1980(100);
  PutOld(kFormat3, 1);
  const Event event = EventAt(100);
  Calls().Script("Init", {-13});
  Init();
  storage_->AddRecord(&event, 0, "");
  ASSERT_EQ(Init(), 0);
  Calls().Forget();
  storage_->AddRecord(&event, 0, "");
  EXPECT_EQ(Calls().CountOf("1 WriteRecord"), 1);
  EXPECT_EQ(Calls().CountOf("1 AppendRecord"), 0);
}

TEST_F(ConvertInit, NewEventsGoBehindTheConvertedOnes) {
  Clock().SetSince1980(100);
  PutOld(kFormat3, 2);
  ASSERT_EQ(Init(), 0);
  for (int i = 0; i < 2; ++i) {
    const Event event = EventAt(100);
    storage_->AddRecord(&event, 7, "");
  }
  PacketDbItem item;
  ASSERT_EQ(storage_->RecordCount(), 3);
  ASSERT_EQ(storage_->FetchRecord(2, &item), 0);
  EXPECT_EQ(Times(item.m_Item), "100-100 x2");
}

TEST_F(ConvertInit, LogTellsTheWholeWay) {
  PutOld(kFormat3, 2);
  Log().SetLevel(5);
  Init();
  EXPECT_EQ(Log().Texts(5),
            (Strings{"fname " + path_ + ", max number of records 1000, timediff = 60",
                     "Creating V4 temporary PacketDB with path " + temporary_ + " [{x4:7}]",
                     "V4 DB created, converting", "Success, totally processed 2 records from 2",
                     "Packet DB V4 initialized (records=2) for pid " + std::to_string(getpid())}));
}

TEST_F(ConvertInit, LogTellsOfNoOpeningBehindAPositiveResult) {
  PutOld(kFormat41, 2);
  Log().SetLevel(5);
  Init();
  EXPECT_EQ(Log().Texts(5).back(), "Completed, totally processed 2 records from 2");
}

}  // namespace
}  // namespace packetdb::test
