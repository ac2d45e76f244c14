// Reading records back from a file storage.
#include "packetdb/storage_iter.h"
#include "tests/support/fixture.h"

namespace packetdb::test {
namespace {

class FileStorageFetch : public LibraryTest {
 protected:
  Journal journal_{1000, 60};
};

TEST_F(FileStorageFetch, DecodesTheRecordAtAPosition) {
  journal_.AddSeparately({1, 2, 3});
  PacketDbItem item;
  EXPECT_EQ(CallsOf([&] { EXPECT_EQ(journal_.storage().FetchRecord(1, &item), 0); }),
            Strings{"ReadRecord(1)"});
  EXPECT_EQ(Times(item.m_Item), "2-2 x1");
}

TEST_F(FileStorageFetch, RecordComesBackAsTheFormatKeepsIt) {
  journal_.Add(DistinctEvent(), 9);
  PacketDbItem item;
  journal_.storage().FetchRecord(0, &item);
  PacketDbItem expected = Record(DistinctEvent(), 9);
  expected.m_Item.m_Dword23 = expected.m_Item.m_Size = expected.m_Item.m_Byte2B = 0;
  expected.m_Item.m_CountCopy = expected.m_Item.m_Count;
  EXPECT_EQ(Text(item), Text(expected));
}

TEST_F(FileStorageFetch, FailedReadStillOverwritesTheItem) {
  PacketDbItem item = Record(DistinctEvent(), 9);
  EXPECT_EQ(journal_.storage().FetchRecord(5, &item), kFileNoRecord);
  EXPECT_EQ(Text(item), Text(PacketDbItem()));
}

TEST_F(FileStorageFetch, PassesTheStatusOfTheReadThrough) {
  journal_.AddSeparately({1});
  PacketDbItem item;
  for (const int status : {-77, 0, 3}) {
    Calls().Script("ReadRecord", {status});
    EXPECT_EQ(journal_.storage().FetchRecord(0, &item), status);
  }
}

TEST_F(FileStorageFetch, FetchesPackedRecordsAsTheyLie) {
  journal_.AddSeparately({1, 2, 3});
  std::string buffer(144, 'x');
  EXPECT_EQ(CallsOf([&] { EXPECT_EQ(journal_.storage().FetchRecords(1, buffer.data(), 2), 2); }),
            Strings{"ReadRecords(1, 2)"});
  EXPECT_EQ(Hex(buffer), Hex(journal_.Bytes(1) + journal_.Bytes(2)));
}

TEST_F(FileStorageFetch, PassesTheNumberOfRecordsThrough) {
  journal_.AddSeparately({1, 2, 3});
  std::string buffer(720, 'x');
  EXPECT_EQ(journal_.storage().FetchRecords(0, buffer.data(), 10), 3);
  for (const int result : {-9, 0, 2}) {
    Calls().Script("ReadRecords", {result});
    EXPECT_EQ(journal_.storage().FetchRecords(0, buffer.data(), 10), result);
  }
}

TEST_F(FileStorageFetch, IteratorWithoutALimitIsTheFileIterator) {
  const Query query = QueryFor();
  const StorageIterPtr iter = journal_.storage().CreateStorageIter(query);
  EXPECT_NE(dynamic_cast<UnixDbFileStorageIter*>(iter.get()), nullptr);
}

TEST_F(FileStorageFetch, IteratorWithALimitIsWrapped) {
  Query query = QueryFor();
  for (const std::uint32_t limit : {1u, 0xffffffffu}) {
    query.m_RecCount = limit;
    const StorageIterPtr iter = journal_.storage().CreateStorageIter(query);
    EXPECT_NE(dynamic_cast<LimitedStorageIter*>(iter.get()), nullptr);
  }
}

TEST_F(FileStorageFetch, CreatingAnIteratorReadsNothing) {
  journal_.AddSeparately({1});
  const Query query = QueryFor();
  EXPECT_EQ(CallsOf([&] { journal_.storage().CreateStorageIter(query); }), Strings{});
}

}  // namespace
}  // namespace packetdb::test
