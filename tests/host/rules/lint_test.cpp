// Groups, their readers and prefixes, in rulesets of a few rules.
#include "host/rules/lint.h"

#include <algorithm>
#include <gmock/gmock.h>
#include <sstream>

#include "tests/host/rules/support.h"

namespace packetdb::host::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Reader = GroupState::Reader;

// A rule that drops and logs to this group.
std::string Logging(int group, const std::string& prefix = "pdb:input:one:drop") {
  return R"([{"log": {"prefix": ")" + prefix + R"(", "group": )" + std::to_string(group) +
         R"(, "snaplen": 128}}, {"drop": null}])";
}

LintSettings Live(Reader reader) {
  LintSettings settings;
  settings.read_groups = {5};
  settings.state_of = [reader](std::uint16_t) { return GroupState{reader, "ulogd (pid 7)"}; };
  settings.is_live = true;
  return settings;
}

std::vector<std::string> NotesOf(const std::vector<std::string>& rules,
                                 const LintSettings& settings) {
  return Lint(ReadRuleset(InputChain(rules)), settings).notes;
}

TEST(LintTest, AGroupThatPacketdbdReadsIsFine) {
  EXPECT_THAT(FoundIn({Logging(5)}, Live(Reader::kOurs)), IsEmpty());
  EXPECT_THAT(NotesOf({Logging(5)}, Live(Reader::kOurs)), IsEmpty());
}

TEST(LintTest, AConfiguredGroupThatAnotherHoldsIsTaken) {
  const auto result = Lint(ReadRuleset(InputChain({Logging(5)})), Live(Reader::kOther));
  ASSERT_EQ(result.findings.size(), 1U);
  EXPECT_EQ(result.findings[0].kind, "taken-group");
  EXPECT_EQ(result.findings[0].what,
            "log group 5, which packetdbd is to read, is held by ulogd (pid 7)");
  ASSERT_EQ(result.findings[0].places.size(), 1U);
  EXPECT_EQ(PlaceText(result.findings[0].places[0]), "inet filter input handle 10");
}

TEST(LintTest, ATakenGroupIsToldOfWithoutARule) {
  EXPECT_THAT(FoundIn({}, Live(Reader::kOther)), testing::SizeIs(1));
}

TEST(LintTest, AConfiguredGroupThatNobodyReadsIsToldOfOnThisMachineOnly) {
  LintSettings settings = Live(Reader::kNobody);
  EXPECT_THAT(FoundIn({Logging(5)}, settings),
              ElementsAre("unread-group: nobody reads log group 5, though it is packetdbd's: what "
                          "is logged there is lost"));
  settings.is_live = false;
  EXPECT_THAT(FoundIn({Logging(5)}, settings), IsEmpty());
}

TEST(LintTest, AnothersGroupIsItsOwnBusiness) {
  EXPECT_THAT(FoundIn({Logging(7, "fw ")}, Live(Reader::kOurs)), IsEmpty());
  LintSettings settings = Live(Reader::kOther);
  settings.read_groups.clear();
  EXPECT_THAT(FoundIn({Logging(7, "fw ")}, settings), IsEmpty());
}

TEST(LintTest, OurPrefixesInAnothersGroupAreToldOf) {
  LintSettings settings = Live(Reader::kOther);
  settings.read_groups.clear();
  EXPECT_THAT(FoundIn({Logging(7)}, settings),
              ElementsAre("unread-group: prefixes of packetdb's form go to log group 7, which "
                          "ulogd (pid 7) reads, and not packetdbd"));
}

TEST(LintTest, WhereReadersAreHiddenOurPrefixesAreToldOfByTheConfiguration) {
  EXPECT_THAT(FoundIn({Logging(7), Logging(8, "fw ")}, Live(Reader::kHidden)),
              ElementsAre("unread-group: prefixes of packetdb's form go to log group 7, which "
                          "packetdbd is not configured to read"));
}

TEST(LintTest, AGroupThatNobodyReadsNamesAllItsRules) {
  const auto result =
      Lint(ReadRuleset(InputChain({Logging(7), Logging(8), Logging(7)})), {.read_groups = {5}});
  ASSERT_EQ(result.findings.size(), 2U);
  EXPECT_EQ(result.findings[0].what, "nobody reads log group 7: what is logged there is lost");
  EXPECT_EQ(result.findings[0].places.size(), 2U);
  EXPECT_EQ(result.findings[0].advice,
            "log to group 5, which packetdbd reads, or add a [[log_group]] with group = 7 to "
            "packetdbd's configuration");
}

TEST(LintTest, AHiddenHolderIsANoteAndNoFinding) {
  EXPECT_THAT(FoundIn({Logging(5)}, Live(Reader::kHidden)), IsEmpty());
  EXPECT_THAT(NotesOf({Logging(5)}, Live(Reader::kHidden)),
              ElementsAre("who holds log group 5 cannot be seen from here (ulogd (pid 7))"));
}

TEST(LintTest, AConfiguredGroupWithoutRulesIsANote) {
  EXPECT_THAT(NotesOf({}, {.read_groups = {5}}), ElementsAre("no rule logs to group 5"));
}

TEST(LintTest, HiddenRulesOfIptablesAreANote) {
  const std::string hidden = R"([{"xt": {"type": "target", "name": "NFLOG"}}])";
  EXPECT_THAT(NotesOf({hidden, hidden}, {}),
              ElementsAre("nft shows no details of 2 NFLOG rules of iptables: look at "
                          "iptables-save"));
}

TEST(LintTest, APrefixThatTheConfigurationKnowsMayLookAsItLikes) {
  LintSettings settings = {.read_groups = {5}};
  const std::vector<std::string> rules = {Logging(5, "pdb:old"), Logging(5, "pdb:a:b:accept")};
  EXPECT_THAT(FoundIn(rules, settings), testing::SizeIs(2));
  settings.is_configured = [](const std::string& prefix) { return prefix.starts_with("pdb:"); };
  EXPECT_THAT(FoundIn(rules, settings), IsEmpty());
}

TEST(LintTest, APrefixThatTheKernelHasNoRoomForIsToldOf) {
  EXPECT_THAT(FoundIn({Logging(5, std::string(127, 'x'))}), IsEmpty());
  EXPECT_THAT(FoundIn({Logging(5, std::string(128, 'x'))}),
              ElementsAre("long-prefix: the prefix has 128 bytes, and the kernel takes 127"));
}

TEST(LintTest, ThePageHasEveryKind) {
  std::istringstream lines(FileText(PACKETDB_SOURCE_DIR "/docs/rules.md"));
  std::vector<std::string> kinds;
  for (std::string line; std::getline(lines, line);) {
    const std::size_t end = line.find("` | ");
    const bool is_kind = line.starts_with("| `") && line.find('-') < end;
    if (is_kind) kinds.push_back(line.substr(3, end - 3));
  }
  EXPECT_EQ(kinds, RuleFindingKinds());
}

TEST(LintTest, EveryKindIsOneThatCanBeIgnored) {
  std::vector<std::string> rules = {Logging(7), Logging(5, "pdb:x"), Logging(5, "pdb:x"),
                                    R"([{"log": null}])", R"([{"log": {"group": 5}}])"};
  for (const std::string& found : FoundIn(rules)) {
    EXPECT_THAT(RuleFindingKinds(), testing::Contains(found.substr(0, found.find(':'))));
  }
}

}  // namespace
}  // namespace packetdb::host::test
