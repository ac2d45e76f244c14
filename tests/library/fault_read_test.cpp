// Reading a journal, asking for one and answering: every call fails in turn.
#include <boost/make_shared.hpp>
#include <map>
#include <memory>
#include <string>

#include "packetdb/journal_server.h"
#include "packetdb/storage_iter.h"
#include "tests/library/fault_fixture.h"

namespace packetdb::test {
namespace {

class ReadFaults : public Faults {
 protected:
  using Ends = std::map<std::string, std::set<std::string>>;

  // For each operation, how a run ended when that was the first to fail.
  template <class Run>
  static Ends ByOperation(int level, bool for_good, Run run) {
    const auto named = [&](const Fault& fault) {
      const std::string outcome = run(fault);
      return Calls().FailedOperation() + ": " + outcome;
    };
    Ends ends;
    for (const auto& outcome : OutcomesOf(level, for_good, named)) {
      const auto colon = outcome.find(": ");
      ends[outcome.substr(0, colon)].insert(outcome.substr(colon + 2));
    }
    return ends;
  }
};

TEST_F(ReadFaults, FetchedRecordIsFilledAndReadAgain) {
  for (const bool for_good : {false, true}) {
    ExpectOutcomes(for_good, {"-1", "0"}, [](const Fault& fault) {
      Journal journal;
      journal.AddSeparately({7});
      PacketDbItem item = Record(EventAt(9));
      fault.Begin();
      const int status = journal.storage().FetchRecord(0, &item);
      Calls().StopFailing();
      EXPECT_NE(Times(item.m_Item), "9-9 x1");
      EXPECT_EQ(journal.storage().FetchRecord(0, &item), 0);
      EXPECT_EQ(Times(item.m_Item), "7-7 x1");
      return std::to_string(status);
    });
  }
}

TEST_F(ReadFaults, FetchedBatchIsReadAgain) {
  for (const bool for_good : {false, true}) {
    ExpectOutcomes(for_good, {"-1", "3"}, [](const Fault& fault) {
      Journal journal;
      journal.AddSeparately({7, 8, 9});
      std::string buffer(3 * 72, '\0');
      fault.Begin();
      const int read = journal.storage().FetchRecords(0, buffer.data(), 3);
      Calls().StopFailing();
      EXPECT_EQ(journal.storage().FetchRecords(0, buffer.data(), 3), 3);
      EXPECT_EQ(buffer.substr(2 * 72), journal.Bytes(2));
      return std::to_string(read);
    });
  }
}

// 250 records are three batches. A walk that failed goes on where it was.
class WalkFaults : public ReadFaults {
 protected:
  static constexpr std::size_t kRecords = 250;

  template <class Select>
  static std::string Walk(const Fault& fault, const Query& query, Select select) {
    Journal journal;
    journal.AddSeparately(std::vector<std::uint32_t>(kRecords, 7));
    const StorageIterPtr iter = journal.storage().CreateStorageIter(query);
    DbItemSelection selection;
    fault.Begin();
    const std::string thrown = Thrown([&] { select(*iter, selection); });
    Calls().StopFailing();
    if (!thrown.empty()) {
      EXPECT_EQ(selection.size() % 100, 0u);
      select(*iter, selection);
    }
    return thrown + " x" + std::to_string(selection.size());
  }
  template <class Act>
  static std::string Thrown(Act act) {
    try {
      act();
    } catch (const XPacketDb& failure) {
      return "'" + std::string(failure.what()) + "'" + (failure.m_Fatal ? " fatal" : "");
    }
    return "";
  }
};

TEST_F(WalkFaults, WalkThatFailedGoesOnWhereItWas) {
  const auto walk = [](const Fault& fault) {
    return Walk(fault, QueryFor(), [](StorageIter& iter, DbItemSelection& selection) {
      iter.SelectRecords(selection);
    });
  };
  const Ends expected{
      {"", {" x250"}}, {"ReadRecord", {" x250"}}, {"ReadRecords", {"'' fatal x250"}}};
  for (const int level : {0, 5}) EXPECT_EQ(ByOperation(level, false, walk), expected) << level;
}

TEST_F(WalkFaults, SingleStepsFailLikeTheWalk) {
  const auto walk = [](const Fault& fault) {
    return Walk(fault, QueryFor(), [](StorageIter& iter, DbItemSelection& selection) {
      while (const PacketDbItem* item = iter.next()) selection.push_front(*item);
    });
  };
  const Ends expected{
      {"", {" x250"}}, {"ReadRecord", {"'' fatal x250"}}, {"ReadRecords", {"'' fatal x250"}}};
  EXPECT_EQ(ByOperation(0, true, walk), expected);
}

TEST_F(WalkFaults, LimitedWalkPassesTheFailureOn) {
  Query query = QueryFor();
  query.m_RecCount = 100;
  const auto walk = [&](const Fault& fault) {
    return Walk(fault, query, [](StorageIter& iter, DbItemSelection& selection) {
      iter.SelectRecords(selection);
    });
  };
  const Ends ends = ByOperation(0, false, walk);
  EXPECT_EQ(ends.at(""), std::set<std::string>{" x100"});
  for (const auto& end : ends.at("ReadRecords"))
    EXPECT_THAT(end, ::testing::StartsWith("'' fatal"));
  EXPECT_EQ(ends.size(), 3u);
}

TEST_F(WalkFaults, ToolForReadingThrowsWhatTheWalkThrows) {
  const auto read = [](const Fault& fault) {
    Journal journal;
    journal.AddSeparately({1, 2});
    DbItemSelection selection;
    const time_t end = TIME_1980_OFFSET + 10;
    fault.Begin();
    const std::string thrown =
        Thrown([&] { journal.storage().ReadPackets(TIME_1980_OFFSET, end, "eth0", selection); });
    Calls().StopFailing();
    EXPECT_EQ(selection.size(), thrown.empty() ? 2u : 0u);
    selection.clear();
    EXPECT_TRUE(journal.storage().ReadPackets(TIME_1980_OFFSET, end, "eth0", selection));
    EXPECT_EQ(selection.size(), 2u);
    return thrown;
  };
  const Ends expected{{"", {""}}, {"ReadRecord", {""}}, {"ReadRecords", {"'' fatal"}}};
  for (const int level : {0, 5}) EXPECT_EQ(ByOperation(level, false, read), expected) << level;
}

class BusFaults : public WalkFaults {
 protected:
  static std::string Write(const Fault& fault) {
    ScriptedMessage message;
    Query query;
    fault.Begin();
    const int status = query.write(&message);
    Calls().StopFailing();
    EXPECT_EQ(query.write(&message), 0);
    return std::to_string(status);
  }
};

TEST_F(BusFaults, ClientsQueryIsSentOrRefused) {
  const std::set<std::string> refused{"-101"};
  const std::set<std::string> sent{"0"};
  const Ends expected{{"", sent},
                      {"SetKind", sent},
                      {"AddColumn", sent},
                      {"SetRecordCount", sent},
                      {"WriteHeader", refused},
                      {"SetValue", sent},
                      {"WriteRecord", refused},
                      {"udbGetCommandAnswer", {"-1"}}};
  for (const int level : {0, 5}) EXPECT_EQ(ByOperation(level, false, Write), expected) << level;
}

TEST_F(BusFaults, RowsEndAtWhatCannotBeSent) {
  const auto send = [](const Fault& fault) {
    UdbJournalServer server(boost::make_shared<CPacketDb>());
    ScriptedMessage message;
    const DbItemSelection selection{Record(EventAt(2)), Record(EventAt(1))};
    fault.Begin();
    const std::string thrown = Thrown([&] { server.SendRows(&message, selection); });
    Calls().StopFailing();
    EXPECT_TRUE(thrown.empty() || Calls().All().back() != "WriteMarker()" ||
                Calls().FailedOperation() == "WriteMarker");
    ScriptedMessage next;
    server.SendRows(&next, selection);
    EXPECT_EQ(next.WrittenRows().size(), 2u);
    return thrown;
  };
  const Ends expected{{"", {""}},
                      {"SetKind", {""}},
                      {"SetRecordCount", {""}},
                      {"SetMarkerFlag", {""}},
                      {"udbSendCommandAnswer", {"\'sending UDB_GET_DBQUERY answer\' fatal"}},
                      {"AddColumn", {"\'adding column id failed\' fatal"}},
                      {"WriteHeader", {"\'writing header\' fatal"}},
                      {"SetValue", {"\'setting value of column failed\' fatal"}},
                      {"WriteRecord", {"\'writing record\' fatal"}},
                      {"WriteMarker", {"\'writing marker\' fatal"}}};
  for (const int level : {0, 5}) EXPECT_EQ(ByOperation(level, false, send), expected) << level;
}

}  // namespace
}  // namespace packetdb::test
