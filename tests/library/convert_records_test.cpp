// What becomes of each byte of an old record, of how many records, and the result of it all.
#include <string>

#include "tests/library/convert_fixture.h"

namespace packetdb::test {
namespace {

class ConvertRecords : public ConvertEither {};
INSTANTIATE_TEST_SUITE_P(Either, ConvertRecords, BothFormats(), FormatName);

// The part of a new record that holds old bytes, whatever the format: the address tuple.
std::string Addresses(const std::string& record) { return record.substr(8, 31); }
std::string OldAddresses(const OldFormat& format, const std::string& record) {
  return record.substr(format.record_size == 60 ? 8 : 0, 31);
}

TEST_P(ConvertRecords, EveryRecordComesAcrossInItsPlace) {
  for (const int count : {1, 2, 3, 101}) {
    Start();
    PutOld(count);
    Convert();
    const auto& records = Files().Find(path_)->records;
    ASSERT_EQ(records.size(), static_cast<std::size_t>(count));
    const auto old = OldRecords(format(), count);
    for (std::size_t i = 0; i < records.size(); ++i) {
      EXPECT_EQ(Addresses(records[i]), OldAddresses(format(), old[i])) << i << " of " << count;
      EXPECT_EQ(records[i].size(), 72u);
    }
  }
}

TEST_P(ConvertRecords, EmptyFileBecomesAnEmptyJournal) {
  PutOld(0);
  EXPECT_EQ(Convert(), 0);
  EXPECT_EQ(JournalFile(), "Zolrak-Packet-Database-4 72 x0");
}

// A ring that has wrapped: positions count from the oldest record that is kept.
TEST_P(ConvertRecords, FullRingComesAcrossOldestFirst) {
  PutOld(3);
  Files().Find(path_)->first_sequence = 1000;
  Convert(3, 1);
  const auto file = Files().Find(path_);
  ASSERT_EQ(file->records.size(), 3u);
  EXPECT_EQ(file->capacity, 3u);
  for (std::size_t i = 0; i < 3; ++i) {
    EXPECT_EQ(Addresses(file->records[i]), OldAddresses(format(), OldRecords(format(), 3)[i]));
  }
}

TEST_P(ConvertRecords, SmallerJournalKeepsTheNewest) {
  PutOld(5);
  Convert(2, 1);
  const auto& records = Files().Find(path_)->records;
  ASSERT_EQ(records.size(), 2u);
  EXPECT_EQ(Addresses(records[1]), OldAddresses(format(), OldRecords(format(), 5)[4]));
}

TEST_P(ConvertRecords, RecordsBeforeAFailureAreKeptAsTheyWere) {
  PutOld(3);
  Calls().Script("ReadRecord", {0, 0, -1});
  Convert();
  const auto& records = Files().Find(path_)->records;
  ASSERT_EQ(records.size(), 2u);
  EXPECT_EQ(Addresses(records[1]), OldAddresses(format(), OldRecords(format(), 3)[1]));
}

class ConvertBytes : public ConvertTest {};

TEST_F(ConvertBytes, Format3KeepsItsBytesAndHasNoPacketSize) {
  Files().Put(path_, kFormat3.magic, 60, {DistinctBytes(60), std::string(60, '\xff')});
  Convert(kFormat3);
  EXPECT_EQ(Hex(NewRecord(0).substr(0, 60)), Hex(DistinctBytes(60)));
  EXPECT_EQ(Hex(NewRecord(0).substr(0x44)), "00000000");
  EXPECT_EQ(NewRecord(1).substr(0, 60), std::string(60, '\xff'));
  EXPECT_EQ(Hex(NewRecord(1).substr(0x44)), "00000000");
}

// Nobody may see what memory held before.
TEST_F(ConvertBytes, Format3LeavesZeroWhereItHadNothing) {
  PutOld(kFormat3, 1);
  Convert(kFormat3);
  EXPECT_EQ(Hex(NewRecord(0).substr(60)), std::string(24, '0'));
}

TEST_F(ConvertBytes, Format41KeepsItsBytesBehindAHashOfZero) {
  Files().Put(path_, kFormat41.magic, 64, {DistinctBytes(64), std::string(64, '\xff')});
  Convert(kFormat41);
  EXPECT_EQ(Hex(NewRecord(0)), "0000000000000000" + Hex(DistinctBytes(64)));
  EXPECT_EQ(Hex(NewRecord(1)), "0000000000000000" + Hex(std::string(64, '\xff')));
}

// The fields under their names, by the way that every reader takes.
TEST_F(ConvertBytes, Format3ReadsBackAsTheSameEvent) {
  PacketDbItem item = Record(DistinctEvent(), 0x1122334455667788);
  Files().Put(path_, kFormat3.magic, 60, {ObjectBytes(*storage_->Pack(&item)).substr(0, 60)});
  ASSERT_EQ(Init(), 0);
  PacketDbItem read;
  ASSERT_EQ(storage_->FetchRecord(0, &read), 0);
  EXPECT_EQ(read.m_AdapterNameHash, 0x1122334455667788u);
  EXPECT_EQ(Value(read.m_Item.m_FirstTime), Value(item.m_Item.m_FirstTime));
  EXPECT_EQ(Value(read.m_Item.m_Count), Value(item.m_Item.m_Count));
  EXPECT_EQ(Value(read.m_Item.m_Dword1F), Value(item.m_Item.m_Dword1F));
  EXPECT_EQ(Value(read.m_Item.m_PacketSize), 0u);
}

TEST_F(ConvertBytes, Format41ReadsBackAsTheSameEventOfNoInterface) {
  PacketDbItem item = Record(DistinctEvent(), 0x1122334455667788);
  PacketDbItemPacked packed = *storage_->Pack(&item);
  Files().Put(path_, kFormat41.magic, 64, {ObjectBytes(packed).substr(8)});
  ASSERT_EQ(Init(), 0);
  PacketDbItem read;
  ASSERT_EQ(storage_->FetchRecord(0, &read), 0);
  PacketDbItem expected = *storage_->Unpack(&packed);
  expected.m_AdapterNameHash = 0;
  EXPECT_EQ(Text(read), Text(expected));
}

class ConvertResults : public ConvertTest {};

TEST_F(ConvertResults, Format3IsZeroForEveryNumberOfRecords) {
  for (const int count : {0, 1, 2, 100}) {
    Start();
    PutOld(kFormat3, count);
    EXPECT_EQ(Convert(kFormat3), 0) << count;
  }
}

TEST_F(ConvertResults, Format41IsTheNumberOfTheLastRecord) {
  for (const int count : {1, 2, 100}) {
    Start();
    PutOld(kFormat41, count);
    EXPECT_EQ(Convert(kFormat41), count - 1) << count;
  }
}

TEST_F(ConvertResults, Format41IsWhatTheLastAppendReturned) {
  PutOld(kFormat41, 2);
  Calls().Script("AppendRecord", {500, 400});
  EXPECT_EQ(Convert(kFormat41), 400);
}

TEST_F(ConvertResults, EmptyFormat41IsWhatOpeningTheNewFileReturned) {
  PutOld(kFormat41, 0);
  Calls().Script("Init", {3, 7});
  EXPECT_EQ(Convert(kFormat41), 7);
}

TEST_F(ConvertResults, EmptyFormat3IsZeroWhateverOpeningReturned) {
  PutOld(kFormat3, 0);
  Calls().Script("Init", {3, 7});
  EXPECT_EQ(Convert(kFormat3), 0);
}

TEST_F(ConvertResults, Format3IsZeroWhenTheCopyEndedEarly) {
  for (const char* const operation : {"ReadRecord", "AppendRecord"}) {
    Start();
    PutOld(kFormat3, 3);
    Calls().Script(operation, {0, -17});
    EXPECT_EQ(Convert(kFormat3), 0) << operation;
  }
}

TEST_F(ConvertResults, Format41IsTheFailureThatEndedTheCopy) {
  for (const char* const operation : {"ReadRecord", "AppendRecord"}) {
    for (const int code : {-1, -6, -17}) {
      Start();
      PutOld(kFormat41, 3);
      Calls().Script(operation, {0, code});
      EXPECT_EQ(Convert(kFormat41), code) << operation;
    }
  }
}

}  // namespace
}  // namespace packetdb::test
