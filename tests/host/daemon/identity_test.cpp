// Users and groups by name.
#include "host/daemon/identity.h"

#include <gmock/gmock.h>
#include <stdexcept>

namespace packetdb::host {
namespace {

using testing::Contains;
using testing::ElementsAre;

std::string Complaint(void (*find)()) {
  try {
    find();
  } catch (const std::runtime_error& error) {
    return error.what();
  }
  return "none";
}

TEST(IdentityTest, UserComesWithItsGroups) {
  const Identity root = FindUser("root");
  EXPECT_EQ(root.uid, 0u);
  EXPECT_EQ(root.gid, 0u);
  EXPECT_THAT(root.groups, Contains(0u));
}

TEST(IdentityTest, NumberStandsForWhoHasIt) { EXPECT_EQ(FindUser("0").uid, 0u); }

TEST(IdentityTest, WhatIsNotThereIsNamed) {
  EXPECT_EQ(Complaint([] { FindUser("no such"); }), "there is no user 'no such'");
  EXPECT_EQ(Complaint([] { FindGroup("no such"); }), "there is no group 'no such'");
  EXPECT_EQ(Complaint([] { FindUsers({"root", "no such"}); }), "there is no user 'no such'");
}

TEST(IdentityTest, NumbersWithoutANameMayBeAllowedAndMayOwnASocket) {
  EXPECT_THAT(FindUsers({"root", "54321"}), ElementsAre(0u, 54321u));
  EXPECT_EQ(FindGroup("54321"), 54321u);
}

// In system calls that number means "leave it as it is".
TEST(IdentityTest, LastNumberIsNobody) {
  EXPECT_EQ(Complaint([] { FindGroup("4294967295"); }), "there is no group '4294967295'");
}

}  // namespace
}  // namespace packetdb::host
