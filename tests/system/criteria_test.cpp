// Every kind of criterion, from a client's query to its rows, against a naive filter.
#include <gmock/gmock.h>
#include <random>

#include "tests/system/support/ask.h"
#include "tests/system/support/daemon.h"
#include "tests/system/support/naive_filter.h"
#include "tests/system/support/records.h"

namespace packetdb::host::test {
namespace {

constexpr std::size_t kEvents = 300;
constexpr unsigned int kSeed = 1;

class CriteriaTest : public testing::Test {
 protected:
  CriteriaTest() {
    std::mt19937 random(kSeed);
    events_ = VariedEvents(kEvents, random);
    Journal(journals_.path(), "edge", events_);
    daemon_.emplace(journals_.path());
    connection_ = Connect(daemon_->socket());
  }

  // Asks, and compares. Returns how many rows came.
  std::size_t Check(const Query& query) {
    const Answer answer = Ask(*connection_, query);
    std::vector<std::string> rows;
    for (const PacketDbClientItem& row : answer.rows) {
      rows.push_back(Served(row.m_Item));
    }
    EXPECT_EQ(answer.status, rows.empty() ? -3 : 0);
    EXPECT_THAT(rows, testing::ElementsAreArray(NaiveAnswer(query, "edge", events_)));
    return rows.size();
  }
  // The same for a criterion that is neither empty nor void.
  void CheckSelective(const Query& query) {
    const std::size_t rows = Check(query);
    EXPECT_GT(rows, 0u);
    EXPECT_LT(rows, kEvents);
  }

  TemporaryDirectory journals_;
  std::vector<SeenEvent> events_;
  std::optional<Daemon> daemon_;
  std::unique_ptr<Connection> connection_;
};

std::int64_t FirstSeen(const SeenEvent& seen) {
  return std::int64_t{seen.event.m_FirstTime} + TIME_1980_OFFSET;
}

std::int64_t LastSeen(const SeenEvent& seen) {
  return std::int64_t{seen.event.m_LastTime} + TIME_1980_OFFSET;
}

TEST_F(CriteriaTest, NoCriterionSelectsEverythingNewestFirst) {
  EXPECT_EQ(Check(QueryOf("edge")), kEvents);
}

TEST_F(CriteriaTest, InterfaceSelectsItsOwnRecords) {
  for (const char* name : {"eth0", "eth1", "wan"}) {
    CheckSelective(QueryOf(name));
  }
}

TEST_F(CriteriaTest, UnknownNameSelectsNothing) { EXPECT_EQ(Check(QueryOf("eth2")), 0u); }

TEST_F(CriteriaTest, TimeRangeTouchesARecordAtEitherEnd) {
  const SeenEvent& middle = events_[kEvents / 2];
  for (const std::int64_t shift : {-1, 0, 1}) {
    Query query = QueryOf("edge");
    query.m_TimeStart = LastSeen(middle) + shift;
    CheckSelective(query);
    query.m_TimeStart = 0;
    query.m_TimeEnd = FirstSeen(middle) + shift;
    CheckSelective(query);
    query.m_TimeStart = query.m_TimeEnd;
    Check(query);
  }
}

TEST_F(CriteriaTest, TimeRangeOutsideTheJournalSelectsNothing) {
  Query query = QueryOf("edge");
  query.m_TimeEnd = FirstSeen(events_.front()) - 1;
  EXPECT_EQ(Check(query), 0u);
  query.m_TimeEnd = 0x7FFFFFFF;
  query.m_TimeStart = LastSeen(events_.back()) + kLongestRecord + 1;
  EXPECT_EQ(Check(query), 0u);
}

TEST_F(CriteriaTest, NoTimeEndSelectsNothing) {
  Query query = QueryOf("edge");
  query.m_TimeEnd = 0;
  EXPECT_EQ(Check(query), 0u);
}

TEST_F(CriteriaTest, SourceIsAnAddressOrARange) {
  Query query = QueryOf("edge");
  query.m_IpSrcFrom = 0x0A000002;
  CheckSelective(query);
  query.m_IpSrcTo = 0x80000000;
  CheckSelective(query);
  query.m_IpSrcFrom = 0;
  CheckSelective(query);
}

TEST_F(CriteriaTest, DestinationIsAnAddressOrARange) {
  Query query = QueryOf("edge");
  query.m_IpDstFrom = 0xFFFFFFFF;
  CheckSelective(query);
  query.m_IpDstFrom = 0x0A000001;
  query.m_IpDstTo = 0x0A0000FF;
  CheckSelective(query);
  query.m_IpDstFrom = query.m_IpDstTo + 1;
  EXPECT_EQ(Check(query), 0u) << "an empty range";
}

TEST_F(CriteriaTest, PortsAreSingleOrRanges) {
  Query query = QueryOf("edge");
  query.m_PortSrcFrom = 53;
  CheckSelective(query);
  query.m_PortSrcTo = 32768;
  CheckSelective(query);
  query.m_PortDstTo = 22;
  CheckSelective(query);
  query.m_PortSrcFrom = query.m_PortSrcTo = 0;
  query.m_PortDstFrom = query.m_PortDstTo = 65535;
  CheckSelective(query);
}

TEST_F(CriteriaTest, NodesAreCompared) {
  Query query = QueryOf("edge");
  query.m_IdSrc = 0x80000001;
  CheckSelective(query);
  query.m_IdDst = 7;
  CheckSelective(query);
  query.m_IdSrc = 0;
  CheckSelective(query);
}

TEST_F(CriteriaTest, ProtocolsAreNumbersAllOrOther) {
  for (const Protocols& wanted :
       {Protocols{{6}}, Protocols{{255}}, Protocols{{1, 17}}, Protocols{{22, 255}}}) {
    Query query = QueryOf("edge");
    query.m_Protocols = wanted;
    CheckSelective(query);
  }
  Query query = QueryOf("edge");
  query.m_Protocols = {{47, 0}};
  EXPECT_EQ(Check(query), kEvents);
}

TEST_F(CriteriaTest, EventCodesAreComparedUpToAZero) {
  Query query = QueryOf("edge");
  query.m_Errcodes = {{static_cast<int>(events_[0].event.m_ErrorCode), 3, 140}};
  CheckSelective(query);
  query.m_Errcodes = {{3, 0, 140, -5}};
  Check(query);
}

TEST_F(CriteriaTest, EveryGroupOfEventCodesSelectsItsOwn) {
  for (const int group : {-2, -3, -4, -5, -6, -7, -8, -14, -15}) {
    SCOPED_TRACE(group);
    Query query = QueryOf("edge");
    query.m_Errcodes = {{group}};
    CheckSelective(query);
  }
}

TEST_F(CriteriaTest, AllEventCodesAreAskedForInFrontOnly) {
  Query query = QueryOf("edge");
  query.m_Errcodes = {{-1, 5}};
  EXPECT_EQ(Check(query), kEvents);
  query.m_Errcodes = {{5, -1}};
  CheckSelective(query);
}

TEST_F(CriteriaTest, UnknownGroupOfEventCodesSelectsNothing) {
  Query query = QueryOf("edge");
  query.m_Errcodes = {{-9}};
  EXPECT_EQ(Check(query), 0u);
}

TEST_F(CriteriaTest, FlagsAreWantedOrUnwanted) {
  Query query = QueryOf("edge");
  query.m_FlagsWanted = 0x21;
  CheckSelective(query);
  query.m_FlagsWanted = 0x1;
  query.m_FlagsNotWanted = 0x20;
  CheckSelective(query);
  query.m_FlagsWanted = query.m_FlagsNotWanted = 0x20;
  EXPECT_EQ(Check(query), kEvents) << "a contradiction asks for nothing";
}

TEST_F(CriteriaTest, TwinFlagsStandForEachOther) {
  for (const std::uint32_t twin : {0x00800000U, 0x01000000U, 0x01800000U}) {
    Query query = QueryOf("edge");
    query.m_FlagsWanted = twin;
    CheckSelective(query);
    query.m_FlagsWanted = 0;
    query.m_FlagsNotWanted = twin;
    CheckSelective(query);
  }
}

TEST_F(CriteriaTest, BothDirectionsMatchEitherWayRound) {
  Query query = QueryOf("edge");
  query.m_IpSrcFrom = 0x0A000001;
  query.m_PortDstFrom = 80;
  const std::size_t one_way = Check(query);
  query.m_Direction = 2;
  EXPECT_EQ(Check(query), one_way);
  query.m_Direction = 1;
  EXPECT_GT(Check(query), one_way);
}

TEST_F(CriteriaTest, LimitKeepsTheNewest) {
  for (const unsigned int limit : {1U, 7U, 299U, 300U, 301U, 0xFFFFFFFFU}) {
    Query query = QueryOf("edge");
    query.m_RecCount = limit;
    EXPECT_EQ(Check(query), std::min<std::size_t>(limit, kEvents));
  }
}

}  // namespace
}  // namespace packetdb::host::test
