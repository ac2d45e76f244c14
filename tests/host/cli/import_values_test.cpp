#include "host/cli/import_values.h"

#include <gmock/gmock.h>
#include <ostream>

#include "host/cli/usage_error.h"
#include "host/sources/event.h"
#include "tests/host/journals/support.h"

namespace packetdb::host::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

const std::string k31Bytes(31, 'x');
const std::string k32Bytes(32, 'x');

std::string NameError(const std::string& default_name, const std::vector<std::string>& texts) {
  return WhatOf<UsageError>([&] { ParseInterfaceNames(default_name, texts); });
}

std::string RuleError(const std::string& text) {
  return WhatOf<UsageError>([&] { ParseRules({text}); });
}

TEST(InterfaceNameOption, GivesTheNameForCapturesThatTellNone) {
  const InterfaceNames names = ParseInterfaceNames("wan0", {});
  EXPECT_EQ(names.default_name, "wan0");
  EXPECT_THAT(names.by_index, IsEmpty());
}

TEST(InterfaceNameOption, NamesInterfacesByTheirIndex) {
  const InterfaceNames names = ParseInterfaceNames("x", {"7=wan0", "2147483647=" + k31Bytes});
  EXPECT_THAT(names.by_index, ElementsAre(Pair(7, "wan0"), Pair(2147483647, k31Bytes)));
}

TEST(InterfaceNameOption, SplitsAtTheFirstEqualsSign) {
  EXPECT_THAT(ParseInterfaceNames("x", {"7=a=b"}).by_index, ElementsAre(Pair(7, "a=b")));
}

TEST(InterfaceNameOption, CountsLastWhenItIsGivenTwice) {
  EXPECT_THAT(ParseInterfaceNames("x", {"7=a", "7=b"}).by_index, ElementsAre(Pair(7, "b")));
}

TEST(InterfaceNameOption, NeedsAnIndex) {
  EXPECT_EQ(NameError("x", {"wan0"}), "'wan0' does not name an interface: give INDEX=NAME");
  for (const char* text : {"", "7", "=wan0", "0=wan0", "-1=wan0", "2147483648=wan0", "x=wan0"}) {
    EXPECT_EQ(NameError("x", {text}),
              std::string("'") + text + "' does not name an interface: give INDEX=NAME");
  }
}

TEST(InterfaceNameOption, RefusesNamesThatNoJournalTakes) {
  EXPECT_EQ(NameError("x", {"7=a b"}),
            "'a b' cannot be the name of an interface: 1 to 31 bytes, no blanks, no '/'");
  for (const std::string& name : {std::string(), std::string("a/b"), k32Bytes}) {
    const std::string error =
        "'" + name + "' cannot be the name of an interface: 1 to 31 bytes, no blanks, no '/'";
    EXPECT_EQ(NameError("x", {"7=" + name}), error);
    EXPECT_EQ(NameError(name, {}), error);
  }
}

struct Outcome {
  const char* rule;
  std::uint32_t code;
  Verdict verdict;
};

void PrintTo(const Outcome& outcome, std::ostream* out) { *out << outcome.rule; }

class RuleOption : public testing::TestWithParam<Outcome> {};

TEST_P(RuleOption, GivesVerdictAndCode) {
  const RuleTable rules = ParseRules({GetParam().rule});
  ASSERT_EQ(rules.count("in"), 1U);
  EXPECT_EQ(rules.at("in").code, GetParam().code);
  EXPECT_EQ(rules.at("in").verdict, GetParam().verdict);
}

INSTANTIATE_TEST_SUITE_P(All, RuleOption,
                         testing::Values(Outcome{"in=accept", 40, Verdict::kAccept},
                                         Outcome{"in=drop", 1, Verdict::kDrop},
                                         Outcome{"in=reject", 2, Verdict::kReject},
                                         Outcome{"in=log", 3, Verdict::kNone},
                                         Outcome{"in=accept:44", 44, Verdict::kAccept},
                                         Outcome{"in=drop:1", 1, Verdict::kDrop},
                                         Outcome{"in=reject:1999", 1999, Verdict::kReject},
                                         Outcome{"in=log:5", 5, Verdict::kNone}));

TEST(RuleOptions, AreNoneByDefault) { EXPECT_THAT(ParseRules({}), IsEmpty()); }

TEST(RuleOptions, MayHaveAnyPrefix) {
  const RuleTable rules = ParseRules({"a=b=drop", "with blank: =log", "pdb:x:y:drop=accept"});
  std::vector<std::string> prefixes;
  for (const auto& [prefix, outcome] : rules) prefixes.push_back(prefix);
  EXPECT_THAT(prefixes, ElementsAre("a=b", "pdb:x:y:drop", "with blank: "));
}

TEST(RuleOptions, NeedAPrefixAndAVerdict) {
  for (const char* text : {"", "drop", "=drop", "in:drop"}) {
    EXPECT_EQ(RuleError(text), std::string("'") + text +
                                   "' is not a rule: give PREFIX=VERDICT or PREFIX=VERDICT:CODE");
  }
}

TEST(RuleOptions, KnowFourVerdicts) {
  for (const char* text : {"in=", "in=deny", "in=DROP", "in= drop", "in=:5"}) {
    EXPECT_EQ(RuleError(text), std::string("'") + text +
                                   "' is not a rule: behind the last '=' goes accept, drop, reject "
                                   "or log, and :CODE if wanted");
  }
}

TEST(RuleOptions, HaveCodesFrom1To1999) {
  for (const char* text :
       {"in=drop:", "in=drop:0", "in=drop:2000", "in=drop:-1", "in=drop:x", "in=drop:1:2"}) {
    EXPECT_EQ(RuleError(text),
              std::string("'") + text + "' is not a rule: its code is not from 1 to 1999");
  }
}

}  // namespace
}  // namespace packetdb::host::test
