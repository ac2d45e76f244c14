// Every call on the platform fails in turn: once, then for good, with a silent and with a talkative
// log. Each run ends as documented, leaks nothing, and leaves something that works again.
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "tests/library/fault_fixture.h"
#include "tests/library/server_fixture.h"

namespace packetdb::test {
namespace {

class StreamFaults : public Faults {
 protected:
  static std::string AddStream(const Fault& fault);
  static std::string Process(const Fault& fault);
};

// Two of one event, an older one, another event, and one more of the first.
std::string StreamFaults::AddStream(const Fault& fault) {
  Journal journal(10, 60);
  Clock().SetSince1980(121);
  fault.Begin();
  for (const auto& [second, key] : {std::pair(100u, 1u), {110, 1}, {105, 1}, {120, 2}, {121, 1}}) {
    const Event event = EventAt(second).Src(key);
    EXPECT_EQ(journal.storage().AddRecord(&event, 0, ""), 0);
  }
  Calls().StopFailing();
  EXPECT_EQ(Calls().CountOf("AppendRecord"), 3);
  EXPECT_EQ(Calls().CountOf("WriteRecord"), 2);
  const Strings rows = journal.Rows();
  for (int i = 0; i < 2; ++i) journal.Add(EventAt(121).Src(9));
  EXPECT_EQ(journal.Rows().back(), "121-121 x2");
  std::string text;
  for (const auto& row : rows) text += row + " ";
  return text;
}

TEST_F(StreamFaults, EachEventIsAddedOrLostByItself) {
  const Strings expected{"105-121 x2 120-120 x1 ",
                         "100-100 x1 105-121 x2 120-120 x1 ",
                         "100-110 x2 120-120 x1 ",
                         "100-110 x2 105-121 x2 ",
                         "100-110 x2 105-105 x1 120-120 x1 ",
                         "100-110 x2 105-121 x2 120-120 x1 "};
  ExpectOutcomes(false, expected, AddStream);
}

TEST_F(StreamFaults, JournalKeepsWhatItHeldWhenItsFileFailsForGood) {
  const Strings expected{"",
                         "100-100 x1 ",
                         "100-110 x2 ",
                         "100-110 x2 105-105 x1 ",
                         "100-110 x2 105-105 x1 120-120 x1 ",
                         "100-110 x2 105-121 x2 120-120 x1 "};
  ExpectOutcomes(true, expected, AddStream);
}

std::string StreamFaults::Process(const Fault& fault) {
  ScriptedMessage message;
  message.FeedRows({{{1, BytesOf(7)}}, {{1, BytesOf(8)}}});
  Query query;
  std::vector<PacketDbClientItem> rows;
  fault.Begin();
  const int status = query.process(&message, &rows);
  Calls().StopFailing();
  const std::string outcome = std::to_string(status) + " x" + std::to_string(rows.size());
  EXPECT_EQ(query.process(&message, &rows), 0);
  EXPECT_EQ(Times(rows.back().m_Item), "0-0 x8");
  return outcome;
}

// In order: the kind, three columns, the record count, the header, three values, the record, the
// status, the answer's header, two rows and the marker.
TEST_F(StreamFaults, ClientGivesUpOnWhatMattersOnly) {
  ExpectOutcomes(false,
                 {"0 x2", "0 x2", "0 x2", "0 x2", "0 x2", "-101 x0", "0 x2", "0 x2", "0 x2",
                  "-101 x0", "-1 x0", "-101 x0", "-101 x0", "-101 x1", "-101 x2", "0 x2"},
                 Process);
}

TEST_F(StreamFaults, ClientGivesUpOnABusThatFailsForGood) {
  ExpectOutcomes(
      true,
      {"-101 x0", "-101 x0", "-101 x0", "-101 x0", "-101 x0", "-101 x0", "-101 x0", "-101 x0",
       "-101 x0", "-101 x0", "-1 x0", "-101 x0", "-101 x0", "-101 x1", "-101 x2", "0 x2"},
      Process);
}

// The status of serving one query for two records, with the answer codes that were sent.
class ServerFaults : public Faults {
 protected:
  static ScriptedMessage Request() {
    ScriptedMessage message;
    message.CarryName("eth0");
    message.CarryByte(31, 1);
    message.CarryInt(3, 0x7fffffff);
    return message;
  }
  static std::string ServeOnce(UdbJournalServer& server) {
    ScriptedMessage message = Request();
    std::string outcome = std::to_string(server.call(&message));
    for (const auto& answer : Calls().Of("udbSendCommandAnswer"))
      outcome += " " + answer.substr(20);
    if (Calls().All().back() == "WriteMarker()" && message.WrittenRows().size() == 2) {
      outcome += " table";
    }
    return outcome;
  }
  static std::string Serve(const Fault& fault) {
    Journal journal;
    journal.AddSeparately({1, 2});
    const CPacketDbPtr db = boost::make_shared<CPacketDb>();
    db->Register("eth0", false, journal.shared());
    UdbJournalServer server(db);
    fault.Begin();
    const std::string outcome = ServeOnce(server);
    const std::string result = Calls().FailedOperation() + ": " + outcome;
    Calls().StopFailing();
    Calls().Forget();
    EXPECT_EQ(ServeOnce(server), kServed);
    return result;
  }
  // For each operation, how serving ended when that was the first to fail.
  static std::map<std::string, std::set<std::string>> ByOperation(int level, bool for_good) {
    std::map<std::string, std::set<std::string>> ends;
    for (const auto& outcome : OutcomesOf(level, for_good, Serve)) {
      const auto colon = outcome.find(": ");
      ends[outcome.substr(0, colon)].insert(outcome.substr(colon + 2));
    }
    return ends;
  }

  inline static const std::string kServed = "0 (0) table";
  inline static const std::string kUnread = "-1 (-3)";
  inline static const std::string kBroken = "-1 (0) (-3)";
};

TEST_F(ServerFaults, EveryFaultIsAnsweredOrHarmless) {
  const std::map<std::string, std::set<std::string>> expected{{"", {kServed}},
                                                              {"ReadRecord", {kServed}},
                                                              {"ReadRecords", {kUnread}},
                                                              {"SetKind", {kServed}},
                                                              {"SetRecordCount", {kServed}},
                                                              {"SetMarkerFlag", {kServed}},
                                                              {"AddColumn", {kBroken}},
                                                              {"WriteHeader", {kBroken}},
                                                              {"SetValue", {kBroken}},
                                                              {"WriteRecord", {kBroken}},
                                                              {"WriteMarker", {kBroken}},
                                                              {"udbSendCommandAnswer", {kBroken}}};
  for (const int level : {0, 5}) EXPECT_EQ(ByOperation(level, false), expected) << level;
}

TEST_F(ServerFaults, PlatformThatFailsForGoodIsStillToldOfTheFailure) {
  const std::map<std::string, std::set<std::string>> expected{{"", {kServed}},
                                                              {"ReadRecord", {kUnread}},
                                                              {"ReadRecords", {kUnread}},
                                                              {"SetKind", {kBroken}},
                                                              {"SetRecordCount", {kBroken}},
                                                              {"SetMarkerFlag", {kBroken}},
                                                              {"AddColumn", {kBroken}},
                                                              {"WriteHeader", {kBroken}},
                                                              {"SetValue", {kBroken}},
                                                              {"WriteRecord", {kBroken}},
                                                              {"WriteMarker", {kBroken}},
                                                              {"udbSendCommandAnswer", {kBroken}}};
  for (const int level : {0, 5}) EXPECT_EQ(ByOperation(level, true), expected) << level;
}

}  // namespace
}  // namespace packetdb::test
