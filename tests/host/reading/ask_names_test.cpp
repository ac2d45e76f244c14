// The names that a daemon tells, and that its files tell.
#include "host/reading/ask_names.h"

#include <filesystem>
#include <gmock/gmock.h>

#include "host/bus/commands.h"
#include "host/config/load.h"
#include "host/intake/rule_line.h"
#include "host/reading/names_of_files.h"
#include "host/sources/event.h"
#include "host/status/text_rows.h"
#include "tests/host/bus/support.h"
#include "tests/host/journals/support.h"
#include "tests/host/reading/served_journals.h"

namespace packetdb::host::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Pointee;

constexpr std::uint32_t kRuleThree = 3U << kRuleShift;

std::string DictionaryText() {
  const RuleEntry first = {3, 1000000000, "fw: ", {1, Verdict::kDrop, 0, ""}};
  const RuleEntry second = {3, 1500000000, "fw: ", {44, Verdict::kDrop, 0, "scans"}};
  return std::string(kRuleDictionaryTitle) + '\n' + RuleLine(first) + '\n' + RuleLine(second) +
         '\n';
}

std::uint32_t JournalTime(std::int64_t unix_seconds) {
  return static_cast<std::uint32_t>(unix_seconds - TIME_1980_OFFSET);
}

TEST(AskNamesTest, HearsEventsFlagsNodesAndRules) {
  ServedJournals daemon;
  daemon.configuration().event_names = {{"scan", 44}};
  daemon.configuration().flag_names = {{"vpn", 0x2000000}};
  daemon.configuration().nodes = {{.network = 1, .prefix_length = 32, .id = 7, .name = "office"}};
  WriteText(RuleDictionaryPath(daemon.configuration().directory), DictionaryText());
  const Names names = DaemonSource(daemon.Connector(), "all").AskNames();
  EXPECT_THAT(names.Event(44), Pointee(std::string("scan")));
  EXPECT_THAT(names.Flags(0x2000000), ElementsAre("vpn"));
  EXPECT_THAT(names.Node(7), Pointee(std::string("office")));
  EXPECT_EQ(names.Rule(kRuleThree, JournalTime(1400000000))->meaning.code, 1u);
  EXPECT_EQ(names.Rule(kRuleThree, JournalTime(1600000000))->meaning.text, "scans");
}

TEST(AskNamesTest, FollowsTheDictionaryAsItGrows) {
  ServedJournals daemon;
  DaemonSource source(daemon.Connector(), "all");
  EXPECT_EQ(source.AskNames().Rule(kRuleThree, 0), nullptr);
  WriteText(RuleDictionaryPath(daemon.configuration().directory), DictionaryText());
  EXPECT_NE(source.AskNames().Rule(kRuleThree, 0), nullptr);
}

TEST(AskNamesTest, HearsTheOtherNamesWhenTheDictionaryIsNone) {
  ServedJournals daemon;
  daemon.configuration().event_names = {{"scan", 44}};
  WriteText(RuleDictionaryPath(daemon.configuration().directory), "dear diary\n");
  const Names names = DaemonSource(daemon.Connector(), "all").AskNames();
  EXPECT_THAT(names.Event(44), Pointee(std::string("scan")));
  EXPECT_THAT(names.rules().entries(), IsEmpty());
}

TEST(AskNamesTest, HasDefaultsWhereTheDaemonDoesNotKnowTheQuestion) {
  Dispatcher dispatcher;
  Pair pair;
  ServerThread server(pair.server, dispatcher);
  const Names names = AskForNames(pair.client);
  EXPECT_THAT(names.Event(kCodeDropped), Pointee(std::string("dropped")));
  EXPECT_THAT(names.Flags(kFlagIn), ElementsAre("in"));
  EXPECT_TRUE(pair.client.sound());
  shutdown(pair.client.fd(), SHUT_RDWR);
}

TEST(AskNamesTest, PassesOverWhatMakesNoSense) {
  constexpr char kNonsense[] =
      "{\"kind\":\"flag\",\"bits\":3,\"name\":\"two\"}\n{\"kind\":\"event\",\"code\":-1}\n[]\nx\n"
      "{\"kind\":\"node\",\"id\":\"one\",\"name\":\"a\"}\n{\"kind\":\"rule\",\"number\":99999}\n"
      "{\"kind\":\"node\",\"id\":2,\"name\":\"two\"}";
  Dispatcher dispatcher;
  Register(dispatcher, kCommandNames,
           [&](CAbstractPacketOptions* message) { return SendTextRows(*message, {kNonsense}); });
  Pair pair;
  ServerThread server(pair.server, dispatcher);
  const Names names = AskForNames(pair.client);
  EXPECT_THAT(names.Node(2), Pointee(std::string("two")));
  EXPECT_EQ(names.nodes().size(), 1u);
  EXPECT_EQ(names.flags(), Names().flags());
  EXPECT_THAT(names.rules().entries(), IsEmpty());
  shutdown(pair.client.fd(), SHUT_RDWR);
}

TEST(NamesOfFilesTest, AreThoseOfTheDictionaryBesideTheJournal) {
  const TempDir directory;
  WriteText(directory.Path("rules.dictionary"), DictionaryText());
  std::vector<std::string> problems;
  const Names names = NamesOfFiles(directory.Path("all.journal"), "", &problems);
  EXPECT_NE(names.Rule(kRuleThree, 0), nullptr);
  EXPECT_THAT(names.Event(kCodeDropped), Pointee(std::string("dropped")));
  EXPECT_THAT(problems, IsEmpty());
}

TEST(NamesOfFilesTest, AreThoseOfAConfigurationThatIsGiven) {
  const TempDir directory;
  const std::string configuration = directory.Path("packetdb.toml");
  WriteText(configuration, "[events]\nscan = 44\n");
  std::vector<std::string> problems;
  const Names names = NamesOfFiles(directory.Path("all.journal"), configuration, &problems);
  EXPECT_THAT(names.Event(44), Pointee(std::string("scan")));
}

TEST(NamesOfFilesTest, TellOfADictionaryThatIsNone) {
  const TempDir directory;
  WriteText(directory.Path("rules.dictionary"), "dear diary\n");
  std::vector<std::string> problems;
  NamesOfFiles(directory.Path("all.journal"), "", &problems);
  EXPECT_THAT(problems, ElementsAre(HasSubstr("not a rule dictionary")));
}

TEST(NamesOfFilesTest, RefuseAConfigurationThatIsNotThere) {
  const TempDir directory;
  std::vector<std::string> problems;
  EXPECT_THROW(NamesOfFiles(directory.Path("all.journal"), directory.Path("none.toml"), &problems),
               ConfigurationError);
}

}  // namespace
}  // namespace packetdb::host::test
