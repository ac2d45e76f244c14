// The table of storages by interface name.
#include "packetdb/registry.h"

#include <boost/make_shared.hpp>

#include "tests/support/fixture.h"

namespace packetdb::test {
namespace {

using StoragePtr = boost::shared_ptr<IJournalStorage>;

class Registry : public LibraryTest {
 protected:
  StoragePtr first_ = boost::make_shared<DatabaseStorage>();
  StoragePtr second_ = boost::make_shared<DatabaseStorage>();
  CPacketDb db_;
};

TEST_F(Registry, IsEmptyAtFirst) {
  EXPECT_EQ(db_.GetActualStorage("eth0"), nullptr);
  EXPECT_FALSE(db_.IsDynamic("eth0"));
}

TEST_F(Registry, FindsWhatWasRegistered) {
  EXPECT_TRUE(db_.Register("eth0", true, first_));
  EXPECT_TRUE(db_.Register("group", false, second_));
  EXPECT_EQ(db_.GetActualStorage("eth0"), first_);
  EXPECT_EQ(db_.GetActualStorage("group"), second_);
}

TEST_F(Registry, KnowsWhichNamesAreDynamic) {
  db_.Register("eth0", true, first_);
  db_.Register("group", false, first_);
  EXPECT_TRUE(db_.IsDynamic("eth0"));
  EXPECT_FALSE(db_.IsDynamic("group"));
  EXPECT_FALSE(db_.IsDynamic("unknown"));
}

TEST_F(Registry, SecondRegistrationReplacesStorageAndFlag) {
  EXPECT_TRUE(db_.Register("eth0", true, first_));
  EXPECT_TRUE(db_.Register("eth0", false, second_));
  EXPECT_EQ(db_.GetActualStorage("eth0"), second_);
  EXPECT_FALSE(db_.IsDynamic("eth0"));
  EXPECT_EQ(first_.use_count(), 1);
}

TEST_F(Registry, RefusesAnEmptyStorage) {
  EXPECT_FALSE(db_.Register("eth0", true, StoragePtr()));
  EXPECT_EQ(db_.GetActualStorage("eth0"), nullptr);
  EXPECT_FALSE(db_.IsDynamic("eth0"));
}

TEST_F(Registry, RefusalKeepsWhatWasRegistered) {
  db_.Register("eth0", true, first_);
  EXPECT_FALSE(db_.Register("eth0", false, StoragePtr()));
  EXPECT_EQ(db_.GetActualStorage("eth0"), first_);
  EXPECT_TRUE(db_.IsDynamic("eth0"));
}

TEST_F(Registry, UnRegisterDropsTheEntryAndItsReference) {
  db_.Register("eth0", true, first_);
  EXPECT_EQ(first_.use_count(), 2);
  db_.UnRegister("eth0");
  EXPECT_EQ(db_.GetActualStorage("eth0"), nullptr);
  EXPECT_FALSE(db_.IsDynamic("eth0"));
  EXPECT_EQ(first_.use_count(), 1);
}

TEST_F(Registry, UnRegisterIgnoresAnUnknownName) {
  db_.Register("eth0", true, first_);
  db_.UnRegister("eth1");
  EXPECT_EQ(db_.GetActualStorage("eth0"), first_);
}

TEST_F(Registry, LookupHandsOutAReference) {
  db_.Register("eth0", true, first_);
  const StoragePtr found = db_.GetActualStorage("eth0");
  EXPECT_EQ(first_.use_count(), 3);
}

TEST_F(Registry, NamesAreComparedBytewise) {
  db_.Register("eth0", true, first_);
  for (const std::string name : {"ETH0", "Eth0", "eth0 ", "eth", "eth00", ""}) {
    EXPECT_EQ(db_.GetActualStorage(name), nullptr) << name;
  }
  EXPECT_EQ(db_.GetActualStorage(std::string("eth0\0", 5)), nullptr);
  EXPECT_TRUE(db_.Register("", true, second_));
  EXPECT_EQ(db_.GetActualStorage(""), second_);
}

TEST_F(Registry, OneStorageMayAnswerForSeveralNames) {
  db_.Register("eth0", true, first_);
  db_.Register("eth1", true, first_);
  db_.UnRegister("eth0");
  EXPECT_EQ(db_.GetActualStorage("eth1"), first_);
}

TEST_F(Registry, CopiesAWholeMap) {
  CPacketDb::StorageMap map;
  map["eth0"] = {true, first_};
  map["group"] = {false, second_};
  const CPacketDb db(map);
  map.clear();
  EXPECT_EQ(db.GetActualStorage("eth0"), first_);
  EXPECT_TRUE(db.IsDynamic("eth0"));
  EXPECT_EQ(db.GetActualStorage("group"), second_);
  EXPECT_FALSE(db.IsDynamic("group"));
}

TEST_F(Registry, NeverCallsAStorageAndNeverLogs) {
  const auto storage = boost::make_shared<DbFileStorage>();
  Log().SetLevel(5);
  EXPECT_EQ(CallsOf([&] {
              db_.Register("eth0", true, storage);
              db_.Register("eth0", true, first_);
              db_.Register("eth0", true, StoragePtr());
              db_.GetActualStorage("eth0");
              db_.IsDynamic("none");
              db_.UnRegister("eth0");
            }),
            Strings{});
  EXPECT_TRUE(Log().Attempts().empty());
}

TEST_F(Registry, BothVersionsAreOne) {
  EXPECT_EQ(CPacketDb::version, 1);
  EXPECT_EQ(packetdb::version, 1);
  EXPECT_EQ(sizeof CPacketDb::version, 1u);
  EXPECT_EQ(sizeof packetdb::version, 1u);
}

TEST_F(Registry, HoldsNothingButTheMap) {
  EXPECT_EQ(sizeof(CPacketDb), sizeof(CPacketDb::StorageMap));
}

}  // namespace
}  // namespace packetdb::test
