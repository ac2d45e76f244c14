// Random combinations of criteria against a naive filter.
#include <gmock/gmock.h>
#include <random>

#include "tests/support/seed.h"
#include "tests/system/support/ask.h"
#include "tests/system/support/daemon.h"
#include "tests/system/support/naive_filter.h"
#include "tests/system/support/records.h"

namespace packetdb::host::test {
namespace {

constexpr std::size_t kAsked = 300;
constexpr int kQueries = 8000;

// Makes queries around events of the journal, so that most of them select something.
class QueryMaker {
 public:
  QueryMaker(const std::vector<SeenEvent>& events, std::mt19937& random)
      : events_(events), random_(random) {}

  Query Make() {
    Query query = QueryOf(OneIn(2) ? "edge" : Some().interface);
    if (OneIn(2)) SetTimes(query);
    if (OneIn(3)) SetSource(query);
    if (OneIn(3)) SetDestination(query);
    if (OneIn(3)) query.m_FlagsWanted = Some().event.m_Flags & Bits();
    if (OneIn(3)) query.m_FlagsNotWanted = Some().event.m_Flags & Bits();
    if (OneIn(3)) SetProtocols(query);
    if (OneIn(3)) SetCodes(query);
    if (OneIn(4)) query.m_RecCount = 1 + static_cast<std::uint32_t>(random_() % 20);
    query.m_Direction = static_cast<std::uint8_t>(random_() % 3);
    return query;
  }

 private:
  bool OneIn(unsigned int n) { return random_() % n == 0; }
  std::uint32_t Bits() { return static_cast<std::uint32_t>(random_()); }
  const SeenEvent& Some() { return events_[random_() % events_.size()]; }

  void SetTimes(Query& query) {
    query.m_TimeStart = std::int64_t{Some().event.m_LastTime} + TIME_1980_OFFSET;
    query.m_TimeEnd = query.m_TimeStart + static_cast<std::int64_t>(random_() % 600);
  }
  void SetSource(Query& query) {
    const CDrvErrorItemV4& event = Some().event;
    if (OneIn(3)) query.m_IdSrc = event.m_SrcId;
    if (OneIn(2)) query.m_IpSrcFrom = event.m_SrcIp;
    if (OneIn(2)) query.m_IpSrcTo = Some().event.m_SrcIp;
    if (OneIn(3)) query.m_PortSrcFrom = event.m_SrcPort;
    if (OneIn(3)) query.m_PortSrcTo = Some().event.m_SrcPort;
  }
  void SetDestination(Query& query) {
    const CDrvErrorItemV4& event = Some().event;
    if (OneIn(3)) query.m_IdDst = event.m_DstId;
    if (OneIn(2)) query.m_IpDstFrom = event.m_DstIp;
    if (OneIn(2)) query.m_IpDstTo = Some().event.m_DstIp;
    if (OneIn(3)) query.m_PortDstFrom = event.m_DstPort;
    if (OneIn(3)) query.m_PortDstTo = Some().event.m_DstPort;
  }
  void SetProtocols(Query& query) {
    for (int i = 0; i < 3; ++i) {
      query.m_Protocols.push_back(Some().event.m_Protocol);
    }
  }
  void SetCodes(Query& query) {
    for (int i = 0; i < 3; ++i) {
      const int code = static_cast<int>(Some().event.m_ErrorCode);
      query.m_Errcodes.push_back(OneIn(2) ? code : -static_cast<int>(random_() % 16));
    }
  }

  const std::vector<SeenEvent>& events_;
  std::mt19937& random_;
};

std::vector<std::string> TextsOf(const Answer& answer) {
  std::vector<std::string> rows;
  for (const PacketDbClientItem& row : answer.rows) {
    rows.push_back(Served(row.m_Item));
  }
  return rows;
}

TEST(RandomQueryTest, AnswersAreTheNaiveFilters) {
  const std::uint32_t seed = packetdb::test::Seed();
  const std::string seed_text = packetdb::test::SeedText(seed);
  SCOPED_TRACE(seed_text);
  RecordProperty("seed", seed_text);
  std::mt19937 random(seed);
  const std::vector<SeenEvent> events = VariedEvents(kAsked, random);
  const TemporaryDirectory journals;
  Journal(journals.path(), "edge", events);
  const Daemon daemon(journals.path());
  const auto connection = Connect(daemon.socket());
  QueryMaker maker(events, random);
  int answered = 0;
  for (int i = 0; i < kQueries; ++i) {
    SCOPED_TRACE("query " + std::to_string(i));
    const Query query = maker.Make();
    const Answer answer = Ask(*connection, query);
    const std::vector<std::string> rows = TextsOf(answer);
    ASSERT_EQ(answer.status, rows.empty() ? -3 : 0);
    ASSERT_EQ(rows, NaiveAnswer(query, "edge", events));
    answered += rows.empty() ? 0 : 1;
  }
  EXPECT_GT(answered, kQueries / 2) << "most queries should select something";
  EXPECT_LT(answered, kQueries - kQueries / 20) << "some queries should select nothing";
}

}  // namespace
}  // namespace packetdb::host::test
