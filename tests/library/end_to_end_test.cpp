// A query from a client to the server and back, over messages in memory.
#include <vector>

#include "tests/library/server_fixture.h"

namespace packetdb::test {
namespace {

class EndToEnd : public ServerTest {
 protected:
  // Writes the query, serves it, and reads the answer, as a bus would carry them.
  int Exchange(Query query, std::vector<PacketDbClientItem>* rows) {
    ScriptedMessage request;
    query.write(&request);
    message_ = ScriptedMessage();
    message_.CarryRow(request.WrittenRows().front());
    status_ = server_.call(&message_);
    const std::string answer = Answers().back();
    const bool empty = answer == "udbSendCommandAnswer(-3)";
    Calls().Reset();
    if (empty) Calls().Script("udbGetCommandAnswer", {-3});
    ScriptedMessage received;
    received.FeedRows(message_.WrittenRows());
    return query.process(&received, rows);
  }
  Strings Ask(const Query& query) {
    std::vector<PacketDbClientItem> rows;
    result_ = Exchange(query, &rows);
    return AllTimes(rows);
  }
  // Times that the bus carries.
  static Query Between(std::int64_t start, std::int64_t end) { return QueryBetween(start, end); }

  int status_ = 1;
  int result_ = 1;
};

TEST_F(EndToEnd, ClientSeesTheRowsNewestFirst) {
  journal_.AddSeparately({100, 200, 300});
  EXPECT_EQ(Ask(Between(150, 1000)), (Strings{"300-300 x1", "200-200 x1"}));
  EXPECT_EQ(result_, 0);
  EXPECT_EQ(status_, 0);
}

TEST_F(EndToEnd, ClientSeesMergedRepeats) {
  Journal merging(100, 60, "/merging");
  db_->Register("eth1", false, merging.shared());
  for (std::uint32_t second : {100u, 110u, 120u}) merging.Add(EventAt(second).Size(10));
  Query query = Between(0, 1000);
  SetInterface(query, "eth1");
  EXPECT_EQ(Ask(query), Strings{"100-120 x3 30B"});
}

TEST_F(EndToEnd, ClientSeesEveryServedField) {
  Event event = DistinctEvent().First(100).Last(200);
  journal_.Add(event, 7);
  std::vector<PacketDbClientItem> rows;
  EXPECT_EQ(Exchange(Between(0, 1000), &rows), 0);
  event.m_Dword1F = event.m_Dword23 = event.m_CountCopy = event.m_Dword38 = event.m_Size = 0;
  event.m_Byte2B = 0;
  ASSERT_EQ(rows.size(), 1u);
  EXPECT_EQ(Text(rows[0].m_Item), Text(event));
  EXPECT_EQ(rows[0].m_AdapterNameHash, 0u);
}

TEST_F(EndToEnd, NothingFoundIsNothingRead) {
  EXPECT_EQ(Ask(Between(0, 1000)), Strings{});
  EXPECT_EQ(result_, -3);
  EXPECT_EQ(status_, 0);
}

TEST_F(EndToEnd, LimitKeepsTheNewest) {
  journal_.AddSeparately({100, 200, 300});
  Query query = Between(0, 1000);
  query.m_RecCount = 2;
  EXPECT_EQ(Ask(query), (Strings{"300-300 x1", "200-200 x1"}));
}

TEST_F(EndToEnd, EveryCriterionArrives) {
  journal_.Add(EventAt(100).Src(10, 1000, 1).Dst(20, 80, 2).Protocol(6).Code(40).Flags(4));
  journal_.Add(EventAt(101).Src(20, 80, 2).Dst(10, 1000, 1).Protocol(17).Code(5).Flags(8));
  Query query = Between(0, 1000);
  query.m_IpSrcFrom = 10;
  EXPECT_EQ(Ask(query), Strings{"100-100 x1"});
  query.m_Direction = 1;
  EXPECT_EQ(Ask(query), (Strings{"101-101 x1", "100-100 x1"}));
  query.m_FlagsWanted = 8;
  EXPECT_EQ(Ask(query), Strings{"101-101 x1"});
  query.m_Protocols.assign({6});
  EXPECT_EQ(Ask(query), Strings{});
}

TEST_F(EndToEnd, GroupsOfCodesArrive) {
  journal_.Add(EventAt(100).Code(40));
  journal_.Add(EventAt(101).Code(5));
  Query query = Between(0, 1000);
  query.m_Errcodes.assign({-5});
  EXPECT_EQ(Ask(query), Strings{"100-100 x1"});
}

TEST_F(EndToEnd, UnknownInterfaceLooksLikeNothing) {
  Query query = Between(0, 1000);
  SetInterface(query, "eth9");
  EXPECT_EQ(Ask(query), Strings{});
  EXPECT_EQ(result_, -3);
}

}  // namespace
}  // namespace packetdb::test
