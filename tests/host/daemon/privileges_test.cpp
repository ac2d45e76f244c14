// Rights that are given up.
#include "host/daemon/privileges.h"

#include <gmock/gmock.h>
#include <sys/capability.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include "host/daemon/hardening.h"
#include "tests/host/daemon/forked.h"

namespace packetdb::host {
namespace {

using test::Forked;

bool Has(cap_value_t capability, cap_flag_t set) {
  const cap_t all = cap_get_proc();
  cap_flag_value_t value = CAP_CLEAR;
  cap_get_flag(all, capability, set, &value);
  cap_free(all);
  return value == CAP_SET;
}

// "P" permitted, "E" in effect, for the capability that opens log groups and for one that does not.
std::string Rights() {
  std::string text;
  for (const cap_value_t capability : {CAP_NET_ADMIN, CAP_SYS_ADMIN}) {
    text += Has(capability, CAP_PERMITTED) ? "P" : "-";
    text += Has(capability, CAP_EFFECTIVE) ? "E" : "-";
  }
  return text;
}

// Whether we have the rights to give up that these tests are about. An ordinary user has none, and
// keeps none.
std::string IfGiven(const std::string& rights) {
  return Has(CAP_NET_ADMIN, CAP_PERMITTED) ? rights : "----";
}

TEST(PrivilegesTest, NothingIsLeft) {
  EXPECT_EQ(Forked([] {
              LimitCapabilities(Keep::kNothing);
              const RaisedCapabilities raised;
              return Rights();
            }),
            "----");
}

TEST(PrivilegesTest, WhatOpensSourcesIsKeptAndOutOfEffect) {
  EXPECT_EQ(Forked([] {
              LimitCapabilities(Keep::kNetwork);
              return Rights();
            }),
            IfGiven("P---"));
}

TEST(PrivilegesTest, WhatIsKeptIsInEffectOnlyWhileItIsRaised) {
  EXPECT_EQ(Forked([] {
              LimitCapabilities(Keep::kNetwork);
              std::string text;
              {
                const RaisedCapabilities raised;
                text = Rights();
              }
              return text + " " + Rights();
            }),
            IfGiven("PE--") + " " + IfGiven("P---"));
}

TEST(PrivilegesTest, WhatWasGivenUpDoesNotComeBack) {
  EXPECT_EQ(Forked([] {
              LimitCapabilities(Keep::kNothing);
              LimitCapabilities(Keep::kNetwork);
              const RaisedCapabilities raised;
              return Rights();
            }),
            "----");
}

TEST(HardeningTest, CoresInspectionAndNewPrivilegesAreForbidden) {
  EXPECT_EQ(Forked([] {
              HardenProcess();
              rlimit core{1, 1};
              getrlimit(RLIMIT_CORE, &core);
              return std::to_string(prctl(PR_GET_DUMPABLE)) +
                     std::to_string(prctl(PR_GET_NO_NEW_PRIVS, 0, 0, 0, 0)) +
                     std::to_string(core.rlim_cur) + std::to_string(core.rlim_max) +
                     (umask(0) == 0027 ? " 0027" : " another");
            }),
            "0100 0027");
}

}  // namespace
}  // namespace packetdb::host
