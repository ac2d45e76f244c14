// Adding events to a file storage: new records and merged repeats.

#include "tests/support/allocation.h"
#include "tests/support/fixture.h"

namespace packetdb::test {
namespace {

class FileStorageAdd : public LibraryTest {
 protected:
  // What the index allocates with its first event, in this order: memory for events, and for their
  // places.
  enum Allocation { kForEvents, kForPlaces };

  Journal journal_{1000, 60};
};

TEST_F(FileStorageAdd, NewEventIsAppended) {
  EXPECT_EQ(CallsOf([&] { journal_.Add(EventAt(100)); }), (Strings{"time()", "AppendRecord()"}));
  EXPECT_EQ(journal_.Rows(), Strings{"100-100 x1"});
}

TEST_F(FileStorageAdd, AppendedRecordIsThePackedEvent) {
  journal_.Add(DistinctEvent(), 0x0102030405060708);
  PacketDbItem item = Record(DistinctEvent(), 0x0102030405060708);
  EXPECT_EQ(Hex(journal_.Bytes(0)), Hex(ObjectBytes(*journal_.storage().Pack(&item))));
}

TEST_F(FileStorageAdd, RepeatIsMerged) {
  journal_.Add(EventAt(100).Count(2).Size(30));
  EXPECT_EQ(CallsOf([&] { journal_.Add(EventAt(120).Count(3).Size(12)); }),
            (Strings{"time()", "WriteRecord(0)"}));
  EXPECT_EQ(journal_.Rows(), Strings{"100-120 x5 42B"});
}

TEST_F(FileStorageAdd, RepeatAtTheSameTimeIsMerged) {
  journal_.Add(EventAt(100));
  journal_.Add(EventAt(100));
  EXPECT_EQ(journal_.Rows(), Strings{"100-100 x2"});
}

TEST_F(FileStorageAdd, MergeStoresTheSumTwice) {
  journal_.Add(EventAt(100).Count(0x10));
  journal_.Add(EventAt(100).Count(0x01));
  EXPECT_EQ(Hex(journal_.Bytes(0).substr(0x2F, 4)), "11000000");
  EXPECT_EQ(Hex(journal_.Bytes(0).substr(0x34, 4)), "11000000");
}

TEST_F(FileStorageAdd, MergeKeepsAllOtherFieldsOfTheFirst) {
  Event first = EventAt(100).Count(1);
  first.m_Dword38 = 8;
  Event repeat = EventAt(120).Count(1);
  repeat.m_Dword38 = 9;
  repeat.m_CountCopy = 77;
  repeat.First(110);
  journal_.Add(first, 5);
  journal_.Add(repeat, 5);
  PacketDbItem merged = Record(first.Last(120).Count(2), 5);
  EXPECT_EQ(Hex(journal_.Bytes(0)), Hex(ObjectBytes(*journal_.storage().Pack(&merged))));
}

TEST_F(FileStorageAdd, SumsWrap) {
  journal_.Add(EventAt(100).Count(0xffffffff).Size(0xfffffff0));
  journal_.Add(EventAt(100).Count(3).Size(0x20));
  EXPECT_EQ(journal_.Rows(), Strings{"100-100 x2 16B"});
}

TEST_F(FileStorageAdd, EachEventMergesIntoItsOwnRecord) {
  for (std::uint32_t key : {1u, 2u, 3u}) journal_.Add(EventAt(100).Src(key));
  EXPECT_EQ(CallsOf([&] { journal_.Add(EventAt(101).Src(2)); }),
            (Strings{"time()", "WriteRecord(1)"}));
  EXPECT_EQ(journal_.Rows(), (Strings{"100-100 x1", "100-101 x2", "100-100 x1"}));
}

TEST_F(FileStorageAdd, SameEventOnAnotherInterfaceIsAppended) {
  journal_.Add(EventAt(100), 1);
  journal_.Add(EventAt(100), 2);
  EXPECT_EQ(journal_.Rows().size(), 2u);
}

TEST_F(FileStorageAdd, InterfaceNameIsNotUsed) {
  const Event event = EventAt(100);
  Clock().SetSince1980(100);
  journal_.storage().AddRecord(&event, 1, "eth0");
  journal_.storage().AddRecord(&event, 1, "eth1");
  EXPECT_EQ(journal_.Rows(), Strings{"100-100 x2"});
}

TEST_F(FileStorageAdd, OlderEventIsAppended) {
  journal_.Add(EventAt(100));
  EXPECT_EQ(CallsOf([&] { journal_.Add(EventAt(99)); }), (Strings{"time()", "AppendRecord()"}));
  EXPECT_EQ(journal_.Rows(), (Strings{"100-100 x1", "99-99 x1"}));
}

TEST_F(FileStorageAdd, OlderEventMakesTheStorageForgetAllRepeats) {
  journal_.Add(EventAt(100).Src(1));
  journal_.Add(EventAt(100).Src(2));
  journal_.Add(EventAt(99).Src(1));
  journal_.Add(EventAt(100).Src(2));
  EXPECT_EQ(journal_.Rows().size(), 4u);
}

TEST_F(FileStorageAdd, OlderEventIsMergedIntoNextTime) {
  journal_.Add(EventAt(100));
  journal_.Add(EventAt(99));
  journal_.Add(EventAt(101));
  EXPECT_EQ(journal_.Rows(), (Strings{"100-100 x1", "99-101 x2"}));
}

TEST_F(FileStorageAdd, LastTimesAreComparedUnsigned) {
  Journal journal(10, 0x7fffffff00000000, "/wide");
  journal.Add(EventAt(0x80000000));
  journal.Add(EventAt(0x7fffffff));
  EXPECT_EQ(journal.Rows().size(), 2u);
  journal.Add(EventAt(0x80000001));
  EXPECT_EQ(journal.Rows().back(), "2147483647-2147483649 x2");
}

TEST_F(FileStorageAdd, AgeIsMeasuredFromTheFirstPacket) {
  for (std::uint32_t second : {100u, 130u, 159u, 160u}) journal_.Add(EventAt(second));
  EXPECT_EQ(journal_.Rows(), (Strings{"100-159 x3", "160-160 x1"}));
}

TEST_F(FileStorageAdd, OlderThanAnExpiredEventResetsNothing) {
  journal_.Add(EventAt(100).Src(1));
  journal_.Add(EventAt(150).Src(2));
  Clock().SetSince1980(160);
  const Event older = EventAt(99).Src(1);
  journal_.storage().AddRecord(&older, 0, "");
  journal_.Add(EventAt(161).Src(2));
  EXPECT_EQ(journal_.Rows(), (Strings{"100-100 x1", "150-161 x2", "99-99 x1"}));
}

TEST_F(FileStorageAdd, RemembersAsManyEventsAsTheFileHolds) {
  Journal journal(2, 60, "/small");
  for (std::uint32_t key : {1u, 2u, 3u}) journal.Add(EventAt(100).Src(key));
  journal.Add(EventAt(101).Src(2));
  EXPECT_EQ(journal.Rows(), (Strings{"100-101 x2", "100-100 x1"}));
  journal.Add(EventAt(102).Src(1));
  EXPECT_EQ(journal.Rows(), (Strings{"100-100 x1", "102-102 x1"}));
}

TEST_F(FileStorageAdd, MergeDoesNotKeepAnEventFromEviction) {
  Journal journal(2, 60, "/small");
  for (std::uint32_t key : {1u, 2u, 1u, 3u, 1u}) journal.Add(EventAt(100).Src(key));
  EXPECT_EQ(journal.Rows(), (Strings{"100-100 x1", "100-100 x1"}));
}

TEST_F(FileStorageAdd, MergesByTheNumberThatAppendReturned) {
  Calls().Script("AppendRecord", {41});
  journal_.Add(EventAt(100));
  EXPECT_EQ(CallsOf([&] { journal_.Add(EventAt(100)); }), (Strings{"time()", "WriteRecord(41)"}));
}

TEST_F(FileStorageAdd, FailedAppendIsIndexedAllTheSame) {
  const Event event = EventAt(100);
  Clock().SetSince1980(100);
  Calls().Script("AppendRecord", {-5});
  EXPECT_EQ(journal_.storage().AddRecord(&event, 0, ""), 0);
  EXPECT_EQ(CallsOf([&] { EXPECT_EQ(journal_.storage().AddRecord(&event, 0, ""), 0); }),
            (Strings{"time()", "WriteRecord(-5)"}));
}

TEST_F(FileStorageAdd, FailedWriteIsNotReportedAndStillCounts) {
  const Event event = EventAt(100);
  Clock().SetSince1980(100);
  Calls().Script("WriteRecord", {-1});
  for (int i = 0; i < 3; ++i) EXPECT_EQ(journal_.storage().AddRecord(&event, 0, ""), 0);
  EXPECT_EQ(journal_.Rows(), Strings{"100-100 x3"});
}

TEST_F(FileStorageAdd, ExhaustedMemoryDropsTheEvent) {
  const Event event = EventAt(100);
  Clock().SetSince1980(100);
  const auto add = [&] {
    const FailAllocation no_nodes(kForEvents, true);
    EXPECT_EQ(journal_.storage().AddRecord(&event, 0, ""), 0);
  };
  EXPECT_EQ(CallsOf(add), Strings{"time()"});
  EXPECT_EQ(journal_.Rows(), Strings{});
}

TEST_F(FileStorageAdd, ExhaustedMemoryIsLoggedTwice) {
  const auto add = [&] {
    const FailAllocation no_nodes(kForEvents, false);
    journal_.Add(EventAt(100));
  };
  EXPECT_EQ(LinesOf(1, add),
            (Strings{"Failed to allocate memory for CLinkedDrvErrorItem", "Failed to add record"}));
  ExpectLogged(1, "Failed to add record", add);
}

TEST_F(FileStorageAdd, EventWithoutAPlaceInTheIndexIsAppendedAndForgotten) {
  const Event event = EventAt(100);
  Clock().SetSince1980(100);
  {
    const FailAllocation no_places(kForPlaces, false);
    EXPECT_EQ(journal_.storage().AddRecord(&event, 0, ""), 0);
  }
  for (int i = 0; i < 2; ++i) EXPECT_EQ(journal_.storage().AddRecord(&event, 0, ""), 0);
  EXPECT_EQ(journal_.Rows(), (Strings{"100-100 x1", "100-100 x2"}));
}

TEST_F(FileStorageAdd, ExhaustedMemoryThatCannotBeLoggedThrowsNothing) {
  const Event event = EventAt(100);
  int status = 1;
  Log().SetLevel(5);
  {
    const FailEveryAllocation no_memory;
    EXPECT_NO_THROW(status = journal_.storage().AddRecord(&event, 0, ""));
  }
  EXPECT_EQ(status, 0);
  EXPECT_TRUE(Log().Lines().empty());
  EXPECT_EQ(journal_.Rows(), Strings{});
}

// The buffer of the last conversion shows what went through it.
TEST_F(FileStorageAdd, EveryWrittenRecordPassesTheByteOrderHook) {
  PacketDbItem other;
  const PacketDbItem* converted = journal_.storage().InvertEndian(&other);
  journal_.Add(EventAt(100).Size(30), 7);
  EXPECT_EQ(Text(*converted), Text(Record(EventAt(100).Size(30), 7)));
  journal_.Add(EventAt(120).Size(12), 7);
  EXPECT_EQ(Text(*converted), Text(Record(EventAt(100).Last(120).Count(2).Size(42), 7)));
}

TEST_F(FileStorageAdd, LogsANewEvent) {
  LinesOf(5, [&] { journal_.Add(EventAt(100).Size(30)); });
  EXPECT_EQ(Log().Texts(5),
            (Strings{"before cleanup: lru_items = 0", "after cleanup: lru_items = 0",
                     "FindItem() did not find item", "m_PacketSize: Original=30"}));
}

TEST_F(FileStorageAdd, LogsAMerge) {
  journal_.Add(EventAt(100).Size(30));
  LinesOf(5, [&] { journal_.Add(EventAt(100).Size(12)); });
  EXPECT_EQ(Log().Texts(5),
            (Strings{"before cleanup: lru_items = 1", "after cleanup: lru_items = 1",
                     "FindItem() found item", "m_PacketSize: Original=12, Stored=42"}));
}

TEST_F(FileStorageAdd, LogsAnOlderEventAsNotFound) {
  journal_.Add(EventAt(100));
  LinesOf(5, [&] { journal_.Add(EventAt(99).Size(7)); });
  EXPECT_EQ(Log().Texts(5),
            (Strings{"before cleanup: lru_items = 1", "after cleanup: lru_items = 1",
                     "FindItem() did not find item", "m_PacketSize: Original=7"}));
}

TEST_F(FileStorageAdd, SaysNothingBelowLevelFive) {
  Log().SetLevel(4);
  for (std::uint32_t second : {100u, 101u, 99u}) journal_.Add(EventAt(second));
  EXPECT_TRUE(Log().Attempts().empty());
}

}  // namespace
}  // namespace packetdb::test
