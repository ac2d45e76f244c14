// The factory: from the name in a query to an iterator over that journal.
#include <boost/make_shared.hpp>

#include "tests/library/file_iter_fixture.h"

namespace packetdb::test {
namespace {

class Factory : public LibraryTest {
 protected:
  Factory() {
    db_->Register("eth0", true, journal_.shared());
    db_->Register("group", false, journal_.shared());
    db_->Register("null", true, boost::make_shared<DatabaseStorage>());
    journal_.Add(EventAt(1).Src(1), adapter_name_hash("eth0"));
    journal_.Add(EventAt(2).Src(2), adapter_name_hash("eth1"));
  }
  static Query Named(const std::string& name) {
    Query query = QueryBetween(0, 100, name);
    query.m_AdapterNameHash = adapter_name_hash(name.substr(0, name.find('\0')));
    return query;
  }
  Strings Selected(Query query) const {
    DbItemSelection selection;
    CreateStorageIter(db_, query)->SelectRecords(selection);
    return AllTimes(selection);
  }

  Journal journal_;
  CPacketDbPtr db_ = boost::make_shared<CPacketDb>();
};

TEST_F(Factory, DynamicNameSelectsItsInterfaceOnly) {
  Query query = Named("eth0");
  EXPECT_EQ(Selected(query), Strings{"1-1 x1"});
  CreateStorageIter(db_, query);
  EXPECT_EQ(query.m_AdapterNameHash, adapter_name_hash("eth0"));
}

TEST_F(Factory, GroupNameSelectsEveryInterface) {
  Query query = Named("group");
  EXPECT_EQ(Selected(query), (Strings{"2-2 x1", "1-1 x1"}));
  CreateStorageIter(db_, query);
  EXPECT_EQ(query.m_AdapterNameHash, 0u);
}

TEST_F(Factory, NullStorageSelectsNothing) {
  EXPECT_EQ(Selected(Named("null")), Strings{});
  Query query = Named("null");
  const StorageIterPtr iter = CreateStorageIter(db_, query);
  EXPECT_NE(dynamic_cast<DatabaseIter*>(iter.get()), nullptr);
}

TEST_F(Factory, LimitOfTheQueryIsKept) {
  Query query = Named("group");
  query.m_RecCount = 1;
  EXPECT_EQ(Selected(query), Strings{"2-2 x1"});
}

TEST_F(Factory, UnknownNameIsRefused) {
  Query query = Named("eth9");
  try {
    CreateStorageIter(db_, query);
    ADD_FAILURE();
  } catch (const XPacketDb& failure) {
    EXPECT_STREQ(failure.what(), "invalid interface name");
    EXPECT_FALSE(failure.m_Fatal);
  }
  EXPECT_EQ(query.m_AdapterNameHash, adapter_name_hash("eth9"));
}

TEST_F(Factory, EmptyNameIsANameLikeAnyOther) {
  EXPECT_THROW(Selected(Named("")), XPacketDb);
  db_->Register("", false, journal_.shared());
  EXPECT_EQ(Selected(Named("")).size(), 2u);
}

TEST_F(Factory, NameEndsAtItsFirstNul) {
  EXPECT_EQ(Selected(Named(std::string("eth0\0x", 6))), Strings{"1-1 x1"});
}

TEST_F(Factory, NameMayFillAllItsBytes) {
  const std::string name = "0123456789abcdef0123456789abcdef";
  db_->Register(name, false, journal_.shared());
  EXPECT_EQ(Selected(Named(name)).size(), 2u);
}

TEST_F(Factory, IteratorHoldsNoReferenceToTheStorage) {
  Query query = Named("eth0");
  const auto before = journal_.shared().use_count();
  const StorageIterPtr iter = CreateStorageIter(db_, query);
  EXPECT_EQ(journal_.shared().use_count(), before);
}

TEST_F(Factory, RequestIsLogged) {
  Query query = Named("eth0");
  ExpectLogged(4, "Processing packet db request for eth0", [&] { CreateStorageIter(db_, query); });
  EXPECT_EQ(LinesOf(5, [&] { CreateStorageIter(db_, query); }), Strings{});
}

TEST_F(Factory, GroupIsTraced) {
  Query query = Named("group");
  ExpectLogged(5, "Processing packet db request for group group",
               [&] { CreateStorageIter(db_, query); });
  EXPECT_EQ(LinesOf(4, [&] { CreateStorageIter(db_, query); }),
            Strings{"Processing packet db request for group"});
}

TEST_F(Factory, UnknownNameIsNoticed) {
  Query query = Named("eth9");
  ExpectLogged(2, "invalid interface name 'eth9'",
               [&] { EXPECT_THROW(CreateStorageIter(db_, query), XPacketDb); });
}

TEST_F(Factory, RequestIsLoggedBeforeItIsRefused) {
  Query query = Named("eth9");
  LinesOf(4, [&] { EXPECT_THROW(CreateStorageIter(db_, query), XPacketDb); });
  Strings texts;
  for (const auto& line : Log().Lines()) texts.push_back(line.Text());
  EXPECT_EQ(texts,
            (Strings{"Processing packet db request for eth9", "invalid interface name 'eth9'"}));
}

}  // namespace
}  // namespace packetdb::test
