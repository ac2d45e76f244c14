// The storage that keeps nothing, and the exception type.
#include <type_traits>

#include "packetdb/storage_iter.h"
#include "tests/support/fixture.h"
#include "tests/support/slots.h"

namespace packetdb::test {
namespace {

class NullStorage : public LibraryTest {
 protected:
  DatabaseStorage storage_;
};

TEST_F(NullStorage, HasNoNameBeforeInit) {
  EXPECT_EQ(storage_.GetFileName(), "");
  EXPECT_EQ(storage_.getTimeDiff(), 0);
}

TEST_F(NullStorage, KeepsThePathOfTheLastInitAndNothingElse) {
  EXPECT_EQ(storage_.Init("/first", 10, 5, 60), 0);
  EXPECT_EQ(storage_.Init("/second path", -1, -1, -1), 0);
  EXPECT_EQ(storage_.GetFileName(), "/second path");
  EXPECT_EQ(storage_.getTimeDiff(), 0);
}

TEST_F(NullStorage, KeepsItsNameAfterDone) {
  storage_.Init("/path", 10, 5, 60);
  storage_.Done();
  EXPECT_EQ(storage_.GetFileName(), "/path");
}

TEST_F(NullStorage, DiscardsEvents) {
  const Event event = EventAt(1);
  EXPECT_EQ(storage_.AddRecord(&event, 7, "eth0"), 0);
  EXPECT_EQ(storage_.RecordCount(), 0);
}

TEST_F(NullStorage, FetchRecordLeavesTheItemUntouched) {
  PacketDbItem item = Record(DistinctEvent(), 3);
  EXPECT_EQ(storage_.FetchRecord(0, &item), 0);
  EXPECT_EQ(Text(item), Text(Record(DistinctEvent(), 3)));
}

TEST_F(NullStorage, FetchRecordsLeavesTheBufferUntouched) {
  std::string buffer(144, 'x');
  EXPECT_EQ(storage_.FetchRecords(0, buffer.data(), 2), 0);
  EXPECT_EQ(buffer, std::string(144, 'x'));
}

TEST_F(NullStorage, DecodesNothing) {
  PacketDbItemPacked packed{};
  EXPECT_EQ(storage_.InvertEndian(&packed), nullptr);
}

TEST_F(NullStorage, QuerySelectsNothing) {
  const Query query = QueryFor();
  DbItemSelection selection{Record(EventAt(9))};
  storage_.CreateStorageIter(query)->SelectRecords(selection);
  EXPECT_EQ(AllTimes(selection), Strings{"9-9 x1"});
}

TEST_F(NullStorage, IteratorIsNeverWrappedInALimiter) {
  Query query = QueryFor();
  query.m_RecCount = 3;
  const StorageIterPtr iter = storage_.CreateStorageIter(query);
  EXPECT_NE(dynamic_cast<DatabaseIter*>(iter.get()), nullptr);
  EXPECT_EQ(iter.use_count(), 1);
}

TEST_F(NullStorage, IteratorKnowsItsQueryAndItsStorage) {
  const Query query = QueryFor();
  const StorageIterPtr iter = storage_.CreateStorageIter(query);
  EXPECT_EQ(Peek<const void*>(iter.get(), sizeof(void*)), &query);
  EXPECT_EQ(Peek<const void*>(iter.get(), 2 * sizeof(void*)), &storage_);
}

TEST_F(NullStorage, MembersStandInTheirOrder) {
  const std::string path(100, 'p');  // too long to lie within the string object
  storage_.Init(path, 1, 1, 60);
  const char* text = Peek<const char*>(&storage_, sizeof(void*));
  EXPECT_EQ(std::string(text, path.size()), path);
  EXPECT_EQ(Peek<time_t>(&storage_, sizeof(void*) + sizeof(std::string)), 0);
  EXPECT_EQ(sizeof storage_, sizeof(void*) + sizeof(std::string) + sizeof(time_t));
}

TEST_F(NullStorage, TouchesNoPlatform) {
  Clock().Set(1);
  Log().SetLevel(5);
  const Event event = EventAt(1);
  const Query query = QueryFor();
  EXPECT_EQ(CallsOf([&] {
              storage_.Init("/path", 1, 1, 1);
              storage_.AddRecord(&event, 7, "eth0");
              storage_.CreateStorageIter(query);
              storage_.Done();
            }),
            Strings{});
  EXPECT_TRUE(Log().Attempts().empty());
}

TEST_F(NullStorage, PacksLikeAnyStorage) {
  PacketDbItem item = Record(EventAt(5), 6);
  EXPECT_EQ(Text(*storage_.Unpack(storage_.Pack(&item))), [] {
    Event event = EventAt(5);
    event.m_CountCopy = 1;
    return Text(Record(event, 6));
  }());
}

TEST(Exception, CarriesItsTextAndFlag) {
  const XPacketDb harmless("text", false);
  const XPacketDb fatal("", true);
  EXPECT_STREQ(harmless.what(), "text");
  EXPECT_FALSE(harmless.m_Fatal);
  EXPECT_STREQ(fatal.what(), "");
  EXPECT_TRUE(fatal.m_Fatal);
}

TEST(Exception, IsCaughtAsARuntimeError) {
  try {
    throw XPacketDb("text", true);
  } catch (const std::runtime_error& error) {
    EXPECT_STREQ(error.what(), "text");
    const auto* caught = dynamic_cast<const XPacketDb*>(&error);
    ASSERT_NE(caught, nullptr);
    EXPECT_TRUE(caught->m_Fatal);
  }
}

TEST(Exception, CopyKeepsTextAndFlag) {
  const XPacketDb original("text", true);
  const XPacketDb copy(original);
  EXPECT_STREQ(copy.what(), "text");
  EXPECT_TRUE(copy.m_Fatal);
}

TEST(Exception, FlagStandsBehindTheRuntimeErrorAndIsFixed) {
  const XPacketDb harmless("text", false);
  const XPacketDb fatal("text", true);
  EXPECT_FALSE(Peek<bool>(&harmless, sizeof(std::runtime_error)));
  EXPECT_TRUE(Peek<bool>(&fatal, sizeof(std::runtime_error)));
  EXPECT_TRUE((std::is_same_v<decltype(XPacketDb::m_Fatal), const bool>));
}

}  // namespace
}  // namespace packetdb::test
