#include "host/reading/daemon_source.h"

#include <gmock/gmock.h>

#include "host/reading/windows.h"
#include "tests/host/reading/served_journals.h"

namespace packetdb::host::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Optional;

// "port interface" of each row, in the order given, and what came of it.
struct Heard {
  std::vector<std::string> rows;
  ReadResult result;
};

Heard Hear(RowSource& source, std::uint32_t limit = 0) {
  Query query;
  query.m_TimeEnd = 0x7FFFFFFF;
  query.m_RecCount = limit;
  Heard heard;
  heard.result = source.Read(query, [&heard](const Row& row) {
    heard.rows.push_back(std::to_string(row.event.m_SrcPort) + " " + std::string(row.interface));
    return true;
  });
  return heard;
}

class DaemonSourceTest : public testing::Test {
 protected:
  DaemonSourceTest() {
    journals_.Add("all", "lan0", 100, 1);
    journals_.Add("all", "wan0", 200, 2);
    journals_.Add("all", "lan0", 300, 3);
    journals_.Add("edge", "dmz0", 400, 4);
  }
  DaemonSource Source(const std::string& name, const InterfaceChoice& choice = {}) {
    return DaemonSource(journals_.Connector(), name, choice);
  }

  ServedJournals journals_;
};

TEST_F(DaemonSourceTest, GivesTheRowsOfAGroupNewestFirst) {
  DaemonSource source = Source("all");
  EXPECT_THAT(Hear(source).rows, ElementsAre("3 ", "2 ", "1 "));
}

TEST_F(DaemonSourceTest, GivesTheRowsOfAnInterface) {
  DaemonSource source = Source("lan0");
  EXPECT_THAT(Hear(source).rows, ElementsAre("3 ", "1 "));
}

TEST_F(DaemonSourceTest, TellsTheInterfacesOfAGroupsRows) {
  DaemonSource source = Source("all", {.must_tell = true});
  EXPECT_THAT(Hear(source).rows, ElementsAre("3 lan0", "2 wan0", "1 lan0"));
}

TEST_F(DaemonSourceTest, TellsTheInterfaceThatItAskedFor) {
  DaemonSource source = Source("wan0", {.must_tell = true});
  EXPECT_THAT(Hear(source).rows, ElementsAre("2 wan0"));
}

TEST_F(DaemonSourceTest, TellsAnInterfaceThatIsNew) {
  DaemonSource source = Source("all", {.must_tell = true});
  Hear(source);
  journals_.Add("all", "vpn0", 500, 5);
  EXPECT_THAT(Hear(source).rows, ElementsAre("5 vpn0", "3 lan0", "2 wan0", "1 lan0"));
}

TEST_F(DaemonSourceTest, LeavesAnInterfaceThatCannotBeAskedForEmpty) {
  journals_.Add("edge", "lan0", 500, 5);
  DaemonSource source = Source("edge", {.must_tell = true});
  EXPECT_THAT(Hear(source).rows, ElementsAre("5 ", "4 dmz0")) << "the name is another group's";
}

TEST_F(DaemonSourceTest, GivesTheRowsOfInterfacesThatFitAPattern) {
  journals_.Add("all", "lan1", 300, 5);
  DaemonSource source = Source("all", {.patterns = {"lan?"}});
  EXPECT_THAT(Hear(source).rows, ElementsAre("3 lan0", "5 lan1", "1 lan0"));
}

TEST_F(DaemonSourceTest, SaysThatNoInterfaceFits) {
  DaemonSource source = Source("all", {.patterns = {"ppp*", "tun*"}});
  const Heard heard = Hear(source);
  EXPECT_EQ(heard.result.outcome, ReadOutcome::kNoSuchName);
  EXPECT_EQ(heard.result.reason, "no interface of 'all' is called like ppp* or tun*");
}

TEST_F(DaemonSourceTest, SaysWhereALimitCutTheAnswer) {
  DaemonSource source = Source("all");
  EXPECT_THAT(Hear(source, 2).result.cut_at, Optional(200 + TIME_1980_OFFSET));
  EXPECT_THAT(Hear(source, 9).result.cut_at, testing::Eq(std::nullopt));
}

TEST_F(DaemonSourceTest, SaysThatNothingMatched) {
  DaemonSource source = Source("all");
  Query query;
  query.m_TimeEnd = 1;
  EXPECT_EQ(source.Read(query, {}).outcome, ReadOutcome::kNothing);
}

TEST_F(DaemonSourceTest, SaysThatNobodyHasTheName) {
  for (const std::string& name : {std::string("none"), std::string(32, 'x')}) {
    DaemonSource source = Source(name);
    const Heard heard = Hear(source);
    EXPECT_EQ(heard.result.outcome, ReadOutcome::kNoSuchName);
    EXPECT_THAT(heard.result.reason, HasSubstr("called '" + name));
  }
}

TEST_F(DaemonSourceTest, SaysThatThereAreTooManyRows) {
  journals_.row_limit = 2;
  DaemonSource source = Source("all");
  const Heard heard = Hear(source);
  EXPECT_EQ(heard.result.outcome, ReadOutcome::kTooManyRows);
  EXPECT_THAT(heard.result.reason, HasSubstr("more than 2 rows"));
  EXPECT_EQ(Hear(source, 2).result.outcome, ReadOutcome::kDone) << "on the same connection";
}

TEST_F(DaemonSourceTest, SaysThatNobodyIsThere) {
  journals_.refuses = true;
  DaemonSource source = Source("all");
  const Heard heard = Hear(source);
  EXPECT_EQ(heard.result.outcome, ReadOutcome::kUnreachable);
  EXPECT_THAT(heard.result.reason, HasSubstr("the test"));
}

TEST_F(DaemonSourceTest, DescribesAGroupAndTheOneOfAnInterface) {
  for (const char* name : {"all", "wan0"}) {
    SourceFacts facts;
    EXPECT_EQ(Source(name).Describe(&facts).outcome, ReadOutcome::kDone);
    EXPECT_THAT(facts.oldest, Optional(100 + TIME_1980_OFFSET));
    EXPECT_THAT(facts.newest, Optional(300 + TIME_1980_OFFSET));
    EXPECT_THAT(facts.records, Optional(3u));
    EXPECT_EQ(facts.window_seconds, kDefaultWindowSeconds);
  }
}

TEST_F(DaemonSourceTest, KeepsItsConnection) {
  DaemonSource source = Source("all", {.must_tell = true});
  Hear(source);
  Hear(source);
  EXPECT_EQ(journals_.connections, 1);
}

TEST_F(DaemonSourceTest, ConnectsAgainWhenTheConnectionHasBroken) {
  DaemonSource source = Source("all");
  Hear(source);
  journals_.Break();
  EXPECT_THAT(Hear(source).rows, ElementsAre("3 ", "2 ", "1 "));
  EXPECT_EQ(journals_.connections, 2);
}

TEST_F(DaemonSourceTest, GoesOnAfterTheSinkHadEnough) {
  DaemonSource source = Source("all");
  Query query;
  query.m_TimeEnd = 0x7FFFFFFF;
  const auto enough = [](const Row&) { return false; };
  EXPECT_EQ(source.Read(query, enough).outcome, ReadOutcome::kStopped);
  EXPECT_THAT(Hear(source).rows, ElementsAre("3 ", "2 ", "1 "));
}

TEST_F(DaemonSourceTest, GivesMoreRowsInWindowsThanInOneAnswer) {
  journals_.row_limit = 2;
  DaemonSource source = Source("all", {.must_tell = true});
  const std::atomic<bool> cancelled = false;
  std::vector<int> numbers;
  Query query;
  query.m_TimeEnd = 0x7FFFFFFF;
  const ReadResult result = WindowReader(source, cancelled)
                                .ReadAll(ReadOrder::kOldestFirst, query, {}, [&](const Row& row) {
                                  numbers.push_back(row.event.m_SrcPort);
                                  return true;
                                });
  EXPECT_EQ(result.outcome, ReadOutcome::kDone) << result.reason;
  EXPECT_THAT(numbers, ElementsAre(1, 2, 3));
}

TEST_F(DaemonSourceTest, GivesEveryFieldThatTheBusCarries) {
  CDrvErrorItemV4 event{};
  event.m_SrcIp = 1;
  event.m_DstIp = 2;
  event.m_Flags = 3;
  event.m_ErrorCode = 4;
  event.m_Word10 = 5;
  event.m_Protocol = 6;
  event.m_SrcPort = 7;
  event.m_DstPort = 8;
  event.m_SrcId = 9;
  event.m_DstId = 10;
  event.m_Count = event.m_CountCopy = 11;
  event.m_FirstTime = 600;
  event.m_LastTime = 601;
  event.m_PacketSize = 12;
  GroupWriter(
      {.directory = journals_.path(""), .group = "full", .capacity = 9, .window_seconds = 9})
      .Add(event, "lan9");
  DaemonSource source = Source("full");
  Query query;
  query.m_TimeEnd = 0x7FFFFFFF;
  source.Read(query, [&event](const Row& row) {
    event.m_CountCopy = 0;
    EXPECT_EQ(std::memcmp(&row.event, &event, sizeof event), 0);
    return true;
  });
}

}  // namespace
}  // namespace packetdb::host::test
