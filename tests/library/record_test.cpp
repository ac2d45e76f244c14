// Records: how they are built, packed for the journal and unpacked again.
#include <cstddef>
#include <cstdint>

#include "tests/support/fixture.h"

namespace packetdb::test {
namespace {

class RecordTest : public LibraryTest {
 protected:
  std::string Packed(const PacketDbItem& item) {
    PacketDbItem copy(item);
    return ObjectBytes(*storage_.Pack(&copy));
  }

  DbFileStorage storage_;
};

TEST_F(RecordTest, DefaultRecordIsAllZero) {
  const PacketDbItem item;
  EXPECT_EQ(Text(item), Text(Record(Event())));
  EXPECT_EQ(item.m_AdapterNameHash, 0u);
}

TEST_F(RecordTest, RecordHoldsTheEventAndTheHash) {
  const Event event = DistinctEvent();
  const PacketDbItem item(&event, 0xfedcba9876543210);
  EXPECT_EQ(item.m_AdapterNameHash, 0xfedcba9876543210u);
  EXPECT_EQ(ObjectBytes(item.m_Item), ObjectBytes(static_cast<const CDrvErrorItemV4&>(event)));
}

TEST_F(RecordTest, CopyHoldsBothFields) {
  const PacketDbItem item = Record(DistinctEvent(), 77);
  const PacketDbItem copy(item);
  EXPECT_EQ(Text(copy), Text(item));
}

TEST_F(RecordTest, AssignmentCopiesBothFieldsAndReturnsItsTarget) {
  const PacketDbItem item = Record(DistinctEvent(), 77);
  PacketDbItem target = Record(EventAt(1), 5);
  EXPECT_EQ(&(target = item), &target);
  EXPECT_EQ(Text(target), Text(item));
}

TEST_F(RecordTest, NextLiesTheDriversSizeBehindTheEvent) {
  PacketDbItem item = Record(EventAt(1));
  const auto* start = reinterpret_cast<const char*>(&item.m_Item);
  EXPECT_EQ(reinterpret_cast<const char*>(item.Next()), start);
  item.m_Item.m_Size = 68;
  EXPECT_EQ(reinterpret_cast<const char*>(item.Next()), start + 68);
}

TEST_F(RecordTest, NextTakesTheSizeWithoutSign) {
  PacketDbItem item = Record(EventAt(1));
  item.m_Item.m_Size = 0xfffffff0;
  const auto start = reinterpret_cast<std::uintptr_t>(&item.m_Item);
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(item.Next()) - start, 0xfffffff0u);
}

TEST_F(RecordTest, EventCanBeReadAsItsAddressTuple) {
  const Event event = DistinctEvent();
  const CDrvErrHash& tuple = event;
  EXPECT_EQ(static_cast<const void*>(&tuple), static_cast<const void*>(&event));
  EXPECT_EQ(Value(tuple.m_DstId), Value(event.m_DstId));
}

TEST_F(RecordTest, PackedRecordIsTheRecordBytesUpToTheSize) {
  const PacketDbItem item = Record(DistinctEvent(), 0x0102030405060708);
  const std::string packed = Packed(item);
  const std::string memory = ObjectBytes(item);
  EXPECT_EQ(Hex(packed.substr(0, 0x2B)), Hex(memory.substr(0, 0x2B)));
  EXPECT_EQ(Hex(packed.substr(0x2F, 4)), Hex(memory.substr(0x2F, 4)));
  EXPECT_EQ(Hex(packed.substr(0x38, 12)), Hex(memory.substr(0x38, 12)));
}

TEST_F(RecordTest, PackedRecordEndsWithThePacketSize) {
  EXPECT_EQ(Hex(Packed(Record(DistinctEvent())).substr(0x44)), "94939291");
}

// The packed record is a buffer that callers can write to.
TEST_F(RecordTest, PackWritesTheUnusedSlotEveryTime) {
  PacketDbItem item = Record(DistinctEvent());
  storage_.Pack(&item)->m_Dword23 = 7;
  EXPECT_EQ(+storage_.Pack(&item)->m_Dword23, 0u);
}

TEST_F(RecordTest, PackWritesZeroForWhatIsNotKept) {
  const std::string packed = Packed(Record(DistinctEvent()));
  EXPECT_EQ(Hex(packed.substr(0x2B, 4)), "00000000");
  EXPECT_EQ(Hex(packed.substr(0x33, 1)), "00");
}

TEST_F(RecordTest, PackWritesTheCountTwiceAndIgnoresTheCopy) {
  const std::string packed = Packed(Record(DistinctEvent()));
  EXPECT_EQ(Hex(packed.substr(0x2F, 4)), "84838281");
  EXPECT_EQ(Hex(packed.substr(0x34, 4)), "84838281");
}

TEST_F(RecordTest, RoundTripLosesOnlyWhatTheFormatDoesNotKeep) {
  PacketDbItem item = Record(DistinctEvent(), 99);
  const PacketDbItem back = *storage_.Unpack(storage_.Pack(&item));
  item.m_Item.m_Dword23 = 0;
  item.m_Item.m_Byte2B = 0;
  item.m_Item.m_Size = 0;
  item.m_Item.m_CountCopy = item.m_Item.m_Count;
  EXPECT_EQ(Text(back), Text(item));
}

TEST_F(RecordTest, UnpackTakesTheCountCopyFromTheCount) {
  PacketDbItemPacked packed{};
  packed.m_Count = 4;
  packed.m_CountCopy = 9;
  packed.m_Dword23 = 7;
  packed.m_Byte2B = 7;
  EXPECT_EQ(Text(*storage_.Unpack(&packed)), [] {
    Event event = Event().Count(4);
    event.m_CountCopy = 4;
    return Text(Record(event));
  }());
}

TEST_F(RecordTest, SecondPackChangesWhatTheFirstReturned) {
  PacketDbItem first = Record(EventAt(1));
  PacketDbItem second = Record(EventAt(2));
  const PacketDbItemPacked* result = storage_.Pack(&first);
  EXPECT_EQ(storage_.Pack(&second), result);
  EXPECT_EQ(Value(result->m_FirstTime), 2u);
}

TEST_F(RecordTest, SecondUnpackChangesWhatTheFirstReturned) {
  PacketDbItemPacked first{};
  PacketDbItemPacked second{};
  second.m_SrcIp = 8;
  const PacketDbItem* result = storage_.Unpack(&first);
  EXPECT_EQ(storage_.Unpack(&second), result);
  EXPECT_EQ(Value(result->m_Item.m_SrcIp), 8u);
}

TEST_F(RecordTest, ByteOrderHookCopiesEveryByte) {
  PacketDbItem item = Record(DistinctEvent(), 99);
  const PacketDbItem* copy = storage_.InvertEndian(&item);
  EXPECT_NE(copy, &item);
  EXPECT_EQ(Text(*copy), Text(item));
  PacketDbItem other = Record(EventAt(5));
  EXPECT_EQ(storage_.InvertEndian(&other), copy);
  EXPECT_EQ(Value(copy->m_Item.m_FirstTime), 5u);
}

TEST_F(RecordTest, EachConversionHasABufferOfItsOwn) {
  PacketDbItem item = Record(EventAt(1));
  PacketDbItemPacked packed{};
  const void* pack = storage_.Pack(&item);
  const void* unpack = storage_.Unpack(&packed);
  const void* hook = storage_.InvertEndian(&item);
  EXPECT_NE(pack, unpack);
  EXPECT_NE(unpack, hook);
  EXPECT_NE(hook, pack);
}

TEST_F(RecordTest, StoragesShareTheBuffers) {
  const DbFileStorage other;
  PacketDbItem item = Record(EventAt(1));
  PacketDbItemPacked packed{};
  EXPECT_EQ(other.Pack(&item), storage_.Pack(&item));
  EXPECT_EQ(other.Unpack(&packed), storage_.Unpack(&packed));
  EXPECT_EQ(other.InvertEndian(&item), storage_.InvertEndian(&item));
}

TEST_F(RecordTest, DecodingUnpacksAndPassesTheByteOrderHook) {
  PacketDbItem item = Record(DistinctEvent(), 99);
  PacketDbItemPacked packed = *storage_.Pack(&item);
  const PacketDbItem unpacked = *storage_.Unpack(&packed);
  const PacketDbItem* decoded = storage_.InvertEndian(&packed);
  EXPECT_EQ(Text(*decoded), Text(unpacked));
  EXPECT_EQ(decoded, storage_.InvertEndian(&item));
}

TEST_F(RecordTest, JournalTimeZeroIsTheFirstSecondOf1980) {
  EXPECT_EQ(TIME_1980_OFFSET, 315532800u);
  std::tm date{};
  date.tm_year = 80;
  date.tm_mday = 1;
  EXPECT_EQ(timegm(&date), 315532800);
}

TEST_F(RecordTest, ClientRecordIsACopyOfTheRecord) {
  const PacketDbItem item = Record(DistinctEvent(), 99);
  const PacketDbClientItem client(item);
  EXPECT_EQ(client.m_AdapterNameHash, 99u);
  EXPECT_EQ(Text(client.m_Item), Text(item.m_Item));
  EXPECT_EQ(Text(PacketDbClientItem().m_Item), Text(Event()));
}

}  // namespace
}  // namespace packetdb::test
