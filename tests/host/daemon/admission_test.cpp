// Who may connect, and how often at a time.
#include "host/daemon/admission.h"

#include <gtest/gtest.h>

namespace packetdb::host {
namespace {

constexpr uid_t kRoot = 0;
constexpr uid_t kAnn = 1001;
constexpr uid_t kBob = 1002;

LimitSettings Limits(int connections, int per_user) {
  LimitSettings limits;
  limits.connections = connections;
  limits.connections_per_user = per_user;
  return limits;
}

TEST(AdmissionTest, EverybodyIsAllowedWhereNobodyIsNamed) {
  const Admission admission(Limits(64, 8), {});
  EXPECT_EQ(admission.Judge(kAnn), Admittance::kAdmitted);
  EXPECT_EQ(admission.Judge(std::nullopt), Admittance::kAdmitted);
}

TEST(AdmissionTest, OnlyUsersThatAreNamedAndRootAreAllowed) {
  const Admission admission(Limits(64, 8), {kAnn});
  EXPECT_EQ(admission.Judge(kAnn), Admittance::kAdmitted);
  EXPECT_EQ(admission.Judge(kRoot), Admittance::kAdmitted);
  EXPECT_EQ(admission.Judge(kBob), Admittance::kUserNotAllowed);
  EXPECT_EQ(admission.Judge(std::nullopt), Admittance::kUserNotAllowed);
}

TEST(AdmissionTest, UserHasALimitOfItsOwn) {
  Admission admission(Limits(64, 2), {});
  admission.Begin(11, kAnn);
  EXPECT_EQ(admission.Judge(kAnn), Admittance::kAdmitted);
  admission.Begin(12, kAnn);
  EXPECT_EQ(admission.Judge(kAnn), Admittance::kTooManyOfUser);
  EXPECT_EQ(admission.Judge(kBob), Admittance::kAdmitted) << "others are not concerned";
  EXPECT_TRUE(admission.End(11));
  EXPECT_EQ(admission.Judge(kAnn), Admittance::kAdmitted);
}

TEST(AdmissionTest, RootHasNoLimitOfItsOwn) {
  Admission admission(Limits(64, 1), {});
  admission.Begin(11, kRoot);
  EXPECT_EQ(admission.Judge(kRoot), Admittance::kAdmitted);
}

TEST(AdmissionTest, IsFullWithAsManyConnectionsAsAllowed) {
  Admission admission(Limits(2, 8), {});
  admission.Begin(11, kAnn);
  EXPECT_FALSE(admission.IsFull());
  admission.Begin(12, kRoot);
  EXPECT_TRUE(admission.IsFull());
  admission.End(12);
  EXPECT_FALSE(admission.IsFull());
}

TEST(AdmissionTest, EndOfAnotherProcessChangesNothing) {
  Admission admission(Limits(2, 8), {});
  admission.Begin(11, kAnn);
  EXPECT_FALSE(admission.End(12));
  EXPECT_EQ(admission.open(), 1u);
}

}  // namespace
}  // namespace packetdb::host
