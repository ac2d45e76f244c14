// `packetdb top`, `group-by`, `histogram` and `blocked`, from a daemon and from a file.
#include <gmock/gmock.h>
#include <nlohmann/json.hpp>
#include <sstream>

#include "host/cli/exit_code.h"
#include "host/sources/event.h"
#include "tests/system/support/daemon.h"
#include "tests/system/support/records.h"

namespace packetdb::host::test {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

SeenEvent From(std::uint32_t source, std::uint32_t second, std::uint32_t count,
               std::uint32_t flags = kFlagDropped) {
  SeenEvent seen = EventAt(second);
  seen.event.m_SrcIp = source;
  seen.event.m_Count = count;
  seen.event.m_PacketSize = 100 * count;
  seen.event.m_Protocol = 17;
  seen.event.m_Flags = flags;
  return seen;
}

class SummaryTest : public testing::Test {
 protected:
  SummaryTest() {
    Journal(journals_.path(), "all",
            {From(0x0A000001, 0, 1), From(0x0A000002, 10, 5), From(0x0A000001, 70, 2),
             From(0x0A000003, 80, 4, kFlagAccepted)});
  }

  Outcome Run(const std::string& command, const Program::Arguments& more) const {
    Program::Arguments all = {command, "--file", journals_.Path("all.journal"), "--utc"};
    all.insert(all.end(), more.begin(), more.end());
    return RunCommand(all);
  }
  std::string Out(const std::string& command, const Program::Arguments& more) const {
    const Outcome outcome = Run(command, more);
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    return outcome.out;
  }

  const TemporaryDirectory journals_;
};

TEST_F(SummaryTest, TopIsSortedByWhatIsAskedFor) {
  const Program::Arguments raw = {"--by", "src", "-o", "template={src} {count}"};
  EXPECT_EQ(Out("top", raw), "10.0.0.2 5\n10.0.0.3 4\n10.0.0.1 3\n");
  EXPECT_EQ(
      Out("top", {"--by", "src", "--sort", "events", "-m", "1", "-o", "template={src} {events}"}),
      "10.0.0.1 2\n");
}

TEST_F(SummaryTest, ExpressionChoosesWhatIsAddedUp) {
  EXPECT_EQ(
      Out("top", {"--by", "src", "-o", "template={src} {count}", "flag dropped and count > 1"}),
      "10.0.0.2 5\n10.0.0.1 2\n");
}

TEST_F(SummaryTest, GroupsComeInTheOrderOfTheirKeys) {
  EXPECT_EQ(Out("group-by", {"--by", "src", "-o", "template={src} {bytes}"}),
            "10.0.0.1 300\n10.0.0.2 500\n10.0.0.3 400\n");
}

TEST_F(SummaryTest, HistogramHasABinForEachSpan) {
  // From 12:26:00, as clocks show it: the first event is 40 seconds later.
  EXPECT_EQ(Out("histogram", {"--bin", "1min", "-o", "raw"}),
            "1599999960\t6\t600\t2\n1600000020\t2\t200\t1\n1600000080\t4\t400\t1\n");
}

TEST_F(SummaryTest, BlockedTellsWhatWasStopped) {
  const std::string out = Out("blocked", {});
  EXPECT_THAT(out, HasSubstr("10.0.0.1"));
  EXPECT_THAT(out, HasSubstr("10.0.0.2"));
  EXPECT_THAT(out, Not(HasSubstr("10.0.0.3"))) << "it was let through";
}

TEST_F(SummaryTest, DaemonGivesTheSameSums) {
  const Daemon daemon(journals_.path());
  const Outcome outcome =
      RunCommand({"top", "-s", daemon.socket(), "--utc", "--by", "src", "-o", "csv"});
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_EQ(outcome.out, Out("top", {"--by", "src", "-o", "csv"}));
}

TEST_F(SummaryTest, EveryFormatIsPrinted) {
  for (const char* command : {"query", "top", "group-by", "histogram", "blocked"}) {
    for (const char* format : {"table", "wide", "csv", "tsv", "raw"}) {
      EXPECT_NE(Out(command, {"-o", format}), "") << command << ' ' << format;
    }
    EXPECT_GT(nlohmann::json::parse(Out(command, {"-o", "json"})).size(), 0u) << command;
    std::istringstream lines(Out(command, {"-o", "ndjson"}));
    for (std::string line; std::getline(lines, line);) {
      EXPECT_TRUE(nlohmann::json::accept(line)) << command << ": " << line;
    }
    EXPECT_EQ(Run(command, {"-o", "xml"}).status, kExitUsage) << command;
  }
}

TEST_F(SummaryTest, MistakesAreUsageErrors) {
  EXPECT_THAT(Run("top", {"--by", "sorce"}).err, StartsWith("packetdb: there is no field 'sorce'"));
  EXPECT_EQ(Run("top", {"--sort", "size"}).status, kExitUsage);
  EXPECT_EQ(Run("histogram", {"--bin", "tea"}).status, kExitUsage);
  EXPECT_EQ(Run("top", {"-o", "template={nothing}"}).status, kExitUsage);
}

TEST_F(SummaryTest, NothingHasNoTable) {
  const Outcome outcome = Run("top", {"count > 100"});
  EXPECT_EQ(outcome.out, "");
  EXPECT_THAT(outcome.err, HasSubstr("nothing matched"));
  EXPECT_EQ(Run("top", {"count > 100", "--exit-status"}).status, kExitNoMatch);
}

}  // namespace
}  // namespace packetdb::host::test
