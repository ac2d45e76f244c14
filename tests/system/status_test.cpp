// `packetdb status` and `packetdb journals` against a daemon, and what they exit with.
#include <csignal>
#include <filesystem>
#include <gmock/gmock.h>
#include <sstream>

#include "host/journals/group_writer.h"
#include "tests/system/support/ask.h"
#include "tests/system/support/daemon.h"
#include "tests/system/support/exit_codes.h"
#include "tests/system/support/records.h"

namespace packetdb::host::test {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;

// Two groups: "core" with two records on eth0, "edge" with one on eth1.
class StatusTest : public testing::Test {
 protected:
  StatusTest() {
    Journal(journals_.path(), "core", {EventAt(0), EventAt(1)});
    SeenEvent on_eth1 = EventAt(5);
    on_eth1.interface = "eth1";
    Journal(journals_.path(), "edge", {on_eth1});
  }

  static Outcome Run(const Daemon& daemon, const Program::Arguments& arguments,
                     const ProgramOptions& options = {}) {
    Program::Arguments all = arguments;
    all.insert(all.end(), {"--socket", daemon.socket()});
    return RunCommand(all, options);
  }
  static nlohmann::json Status(const Daemon& daemon) {
    const Outcome outcome = Run(daemon, {"status", "-o", "json"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    return nlohmann::json::parse(outcome.out);
  }
  static std::vector<nlohmann::json> Names(const Daemon& daemon) {
    const Outcome outcome = Run(daemon, {"journals", "-o", "json"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    std::vector<nlohmann::json> rows;
    std::istringstream lines(outcome.out);
    for (std::string line; std::getline(lines, line);) {
      rows.push_back(nlohmann::json::parse(line));
    }
    return rows;
  }

  const TemporaryDirectory journals_;
};

TEST_F(StatusTest, TellsOfVersionsAndJournals) {
  const Daemon daemon(journals_.path());
  const nlohmann::json status = Status(daemon);
  EXPECT_EQ(status.at("daemon").at("journal_format"), "4");
  EXPECT_THAT(status.at("problems"), IsEmpty());
  ASSERT_EQ(status.at("journals").size(), 2U);
  const nlohmann::json& core = status.at("journals")[0];
  EXPECT_EQ(core.at("name"), "core");
  EXPECT_EQ(core.at("records"), 2);
  EXPECT_EQ(core.at("capacity"), 3);
  EXPECT_EQ(core.at("oldest_unix"), kEpoch);
  EXPECT_EQ(core.at("newest_unix"), kEpoch + 1);
  EXPECT_EQ(core.at("state"), "closed");
  EXPECT_TRUE(core.at("since_start").is_null()) << "nobody writes it";
}

TEST_F(StatusTest, FollowsAWriter) {
  const Daemon daemon(journals_.path());
  GroupOptions options;
  options.directory = journals_.path();
  options.group = "core";
  GroupWriter writer(options);
  writer.Add(EventAt(9).event, "eth0");
  const nlohmann::json core = Status(daemon).at("journals")[0];
  EXPECT_EQ(core.at("records"), 3);
  EXPECT_EQ(core.at("writer"), true);
  EXPECT_EQ(core.at("state"), "open");
  EXPECT_EQ(core.at("overwriting"), true);
  EXPECT_EQ(core.at("newest_unix"), kEpoch + 9);
}

TEST_F(StatusTest, IsATableForPeople) {
  const Daemon daemon(journals_.path());
  const Outcome outcome = Run(daemon, {"status"});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.err, "");
  EXPECT_THAT(outcome.out,
              AllOf(HasSubstr("journal format 4"), HasSubstr("\nJOURNAL  RECORDS  CAPACITY"),
                    HasSubstr("\ncore "), HasSubstr("\nedge ")));
}

TEST_F(StatusTest, NamesWhatIsWrong) {
  std::filesystem::resize_file(journals_.Path("core.journal"), 5000);
  const Daemon daemon(journals_.path());
  const nlohmann::json status = Status(daemon);
  ASSERT_EQ(status.at("problems").size(), 1U);
  EXPECT_THAT(status.at("problems")[0].at("text").get<std::string>(),
              HasSubstr(journals_.Path("core.journal")));
  ASSERT_EQ(status.at("journals").size(), 1U);
  EXPECT_EQ(status.at("journals")[0].at("name"), "edge") << "the other one is told of";
}

TEST_F(StatusTest, ListsGroupsAndInterfaces) {
  const Daemon daemon(journals_.path());
  std::vector<std::string> told;
  for (const nlohmann::json& row : Names(daemon)) {
    told.push_back(row.at("kind").get<std::string>() + " " + row.at("name").get<std::string>());
    EXPECT_EQ(row.at("served"), true);
  }
  EXPECT_THAT(told, ElementsAre("group core", "interface eth0", "group edge", "interface eth1"));
}

TEST_F(StatusTest, ListsAnInterfaceOfTwoGroupsTwice) {
  Journal(journals_.path(), "lab", {EventAt(0)});
  const Daemon daemon(journals_.path());
  const std::vector<nlohmann::json> rows = Names(daemon);
  ASSERT_EQ(rows.size(), 7U);
  EXPECT_EQ(rows[5].at("name"), "eth0");
  EXPECT_EQ(rows[5].at("journal"), "lab");
  EXPECT_EQ(rows[5].at("served"), false);
  EXPECT_THAT(rows[6].at("text").get<std::string>(), HasSubstr("interface eth0 of group lab"));
}

TEST_F(StatusTest, ListsWhatAQueryAnswersFor) {
  const Daemon daemon(journals_.path());
  for (const nlohmann::json& row : Names(daemon)) {
    const Answer answer = Ask(daemon.socket(), QueryOf(row.at("name").get<std::string>()));
    EXPECT_EQ(answer.status, 0) << row;
    EXPECT_EQ(answer.rows.size(), row.at("journal") == "core" ? 2U : 1U) << row;
  }
}

TEST_F(StatusTest, ComesBetweenQueries) {
  const Daemon daemon(journals_.path());
  EXPECT_EQ(Run(daemon, {"journals"}).status, 0);
  EXPECT_EQ(Ask(daemon.socket(), QueryOf("edge")).rows.size(), 1U);
  EXPECT_EQ(Run(daemon, {"status"}).status, 0);
}

TEST_F(StatusTest, IsToldWithoutJournals) {
  const TemporaryDirectory empty;
  const Daemon daemon(empty.path());
  EXPECT_THAT(Run(daemon, {"status"}).out, HasSubstr("\nno journals\n"));
  EXPECT_EQ(Run(daemon, {"journals"}).out, "no journals\n");
}

TEST_F(StatusTest, ExitsAsAQueryDoes) {
  Daemon daemon(journals_.path(), {"--socket-mode", "0000"});
  ProgramOptions like_others;
  like_others.obeys_modes = true;
  for (const char* command : {"status", "journals"}) {
    const Outcome outcome = Run(daemon, {command}, like_others);
    EXPECT_EQ(outcome.status, kExitNotPermitted);
    EXPECT_EQ(outcome.out, "");
    EXPECT_THAT(outcome.err, MatchesRegex("packetdb: [^\n]*permission was denied[^\n]*\n"));
  }
  daemon.program().SignalAll(SIGSTOP);
  EXPECT_EQ(Run(daemon, {"status", "--timeout", "1"}).status, kExitFailed);
  daemon.program().SignalAll(SIGKILL);
  daemon.Stop(SIGKILL);
  EXPECT_EQ(Run(daemon, {"journals"}).status, kExitUnreachable);
}

}  // namespace
}  // namespace packetdb::host::test
