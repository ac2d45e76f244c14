#include "host/sources/prefix.h"

#include <gmock/gmock.h>
#include <string>

#include "host/sources/event.h"

namespace packetdb::host::test {
namespace {

// "verdict flag/code", with a star when the prefix was remarked as malformed.
std::string Outcome(std::string_view prefix, const RuleTable& rules = {}) {
  CaptureCounters counters;
  const RuleOutcome outcome = Classify(prefix, rules, counters);
  return std::to_string(VerdictFlag(outcome.verdict)) + "/" + std::to_string(outcome.code) +
         (counters.noted(Remark::kMalformedPrefix) != 0 ? "*" : "");
}

TEST(Prefix, VerdictGivesFlagAndCode) {
  EXPECT_EQ(Outcome("pdb:input:12:accept"), "16/40");
  EXPECT_EQ(Outcome("pdb:input:12:drop"), "32/1");
  EXPECT_EQ(Outcome("pdb:input:12:reject"), "64/2");
}

TEST(Prefix, CodeReplacesTheVerdictsOwn) {
  EXPECT_EQ(Outcome("pdb:input:12:drop:1"), "32/1");
  EXPECT_EQ(Outcome("pdb:input:12:accept:77"), "16/77");
  EXPECT_EQ(Outcome("pdb:input:12:reject:1999"), "64/1999");
}

TEST(Prefix, NoPrefixIsAnOrdinaryCapture) { EXPECT_EQ(Outcome(""), "0/60"); }

TEST(Prefix, AnyOtherPrefixIsLogged) {
  EXPECT_EQ(Outcome("DROP IN=eth0"), "0/3");
  EXPECT_EQ(Outcome("pdb"), "0/3");
  EXPECT_EQ(Outcome("PDB:input:12:drop"), "0/3");
}

TEST(Prefix, MalformedOwnFormIsLoggedAndRemarked) {
  for (const char* prefix :
       {"pdb:", "pdb:input", "pdb:input:12", "pdb:input:12:", "pdb:input:12:DROP",
        "pdb:input:12:drop ", "pdb::12:drop", "pdb:input::drop", "pdb:input:12:drop:",
        "pdb:input:12:drop:0", "pdb:input:12:drop:2000", "pdb:input:12:drop:-1",
        "pdb:input:12:drop:+1", "pdb:input:12:drop: 1", "pdb:input:12:drop:1x",
        "pdb:input:12:drop:1:1", "pdb:input:12:drop:99999999999999999999", "pdb:input:12::5"}) {
    EXPECT_EQ(Outcome(prefix), "0/3*") << prefix;
  }
}

TEST(Prefix, TableComesBeforeOurOwnForm) {
  const RuleTable rules = {{"pdb:input:12:drop", {555, Verdict::kAccept}},
                           {"blocked ", {7, Verdict::kReject}},
                           {"seen", {0x90000000, Verdict::kNone}}};
  EXPECT_EQ(Outcome("pdb:input:12:drop", rules), "16/555");
  EXPECT_EQ(Outcome("blocked ", rules), "64/7");
  EXPECT_EQ(Outcome("seen", rules), "0/2415919104");
  EXPECT_EQ(Outcome("blocked", rules), "0/3");
}

TEST(Prefix, TableCannotNameTheAbsenceOfARule) {
  EXPECT_EQ(Outcome("", {{"", {7, Verdict::kDrop}}}), "0/60");
}

}  // namespace
}  // namespace packetdb::host::test
