// Sending a query and reading the answer's rows.
#include <algorithm>

#include "tests/support/fixture.h"

namespace packetdb::test {
namespace {

class QueryProcess : public LibraryTest {
 protected:
  int Process() { return query_.process(&message_, &rows_); }
  // The calls behind the exchange of the query itself.
  Strings ReadingCalls() {
    Strings calls = CallsOf([this] { result_ = Process(); });
    const auto begin = std::find(calls.begin(), calls.end(), "BeginRead()");
    return {begin, calls.end()};
  }
  static MessageRow RowWithCount(std::uint32_t count) { return {{1, BytesOf(count)}}; }

  ScriptedMessage message_;
  Query query_;
  std::vector<PacketDbClientItem> rows_;
  int result_ = 1;
};

TEST_F(QueryProcess, MarkerInFrontGivesNoRows) {
  EXPECT_EQ(ReadingCalls(), (Strings{"BeginRead()", "ReadHeader()", "ReadRecord()", "IsMarker()"}));
  EXPECT_EQ(result_, 0);
  EXPECT_TRUE(rows_.empty());
}

TEST_F(QueryProcess, ReadsEveryColumnInOrder) {
  message_.FeedRows({RowWithCount(1)});
  const Strings calls = ReadingCalls();
  EXPECT_EQ(calls,
            (Strings{"BeginRead()",  "ReadHeader()", "ReadRecord()", "IsMarker()",  "GetInt(1)",
                     "GetByte(2)",   "GetInt(3)",    "GetInt(4)",    "GetInt(5)",   "GetInt(6)",
                     "GetInt(7)",    "GetInt(8)",    "GetShort(9)",  "GetByte(10)", "GetShort(11)",
                     "GetShort(12)", "GetInt(13)",   "GetInt(14)",   "GetInt(15)",  "GetInt(16)",
                     "ReadRecord()", "IsMarker()"}));
}

TEST_F(QueryProcess, EveryColumnGoesToItsField) {
  const Event event = DistinctEvent();
  message_.FeedRows({{{1, BytesOf(Value(event.m_Count))},
                      {2, BytesOf(Value(event.m_Byte2B))},
                      {3, BytesOf(Value(event.m_FirstTime))},
                      {4, BytesOf(Value(event.m_LastTime))},
                      {5, BytesOf(Value(event.m_SrcIp))},
                      {6, BytesOf(Value(event.m_DstIp))},
                      {7, BytesOf(Value(event.m_Flags))},
                      {8, BytesOf(Value(event.m_ErrorCode))},
                      {9, BytesOf(Value(event.m_Word10))},
                      {10, BytesOf(Value(event.m_Protocol))},
                      {11, BytesOf(Value(event.m_SrcPort))},
                      {12, BytesOf(Value(event.m_DstPort))},
                      {13, BytesOf(Value(event.m_SrcId))},
                      {14, BytesOf(Value(event.m_DstId))},
                      {15, BytesOf(Value(event.m_PacketSize))},
                      {16, BytesOf(Value(event.m_Dword23))}}});
  EXPECT_EQ(Process(), 0);
  Event expected = event;
  expected.m_Dword1F = expected.m_CountCopy = expected.m_Dword38 = expected.m_Size = 0;
  ASSERT_EQ(rows_.size(), 1u);
  EXPECT_EQ(Text(rows_[0].m_Item), Text(expected));
  EXPECT_EQ(rows_[0].m_AdapterNameHash, 0u);
}

TEST_F(QueryProcess, MissingColumnsReadAsZero) {
  message_.FeedRows({RowWithCount(7), MessageRow{}});
  EXPECT_EQ(Process(), 0);
  ASSERT_EQ(rows_.size(), 2u);
  EXPECT_EQ(Text(rows_[0].m_Item), Text(Event().Count(7)));
  EXPECT_EQ(Text(rows_[1].m_Item), Text(Event()));
}

TEST_F(QueryProcess, RowsAreAppendedInOrder) {
  rows_.emplace_back();
  message_.FeedRows({RowWithCount(3), RowWithCount(1), RowWithCount(2)});
  EXPECT_EQ(Process(), 0);
  EXPECT_EQ(AllTimes(rows_), (Strings{"0-0 x0", "0-0 x3", "0-0 x1", "0-0 x2"}));
}

TEST_F(QueryProcess, FailedExchangeReadsNothing) {
  for (const int status : {-3, 9, -100}) {
    Calls().Script("udbGetCommandAnswer", {status});
    message_.FeedRows({RowWithCount(1)});
    EXPECT_TRUE(ReadingCalls().empty());
    EXPECT_EQ(result_, status);
    EXPECT_TRUE(rows_.empty());
  }
}

TEST_F(QueryProcess, UnwritableQueryReadsNothing) {
  Calls().Script("WriteRecord", {-1});
  EXPECT_TRUE(ReadingCalls().empty());
  EXPECT_EQ(result_, UDB_QUERY_FAILED);
}

TEST_F(QueryProcess, FailedHeaderGivesNoRows) {
  Calls().Script("ReadHeader", {-1});
  message_.FeedRows({RowWithCount(1)});
  EXPECT_EQ(ReadingCalls(), (Strings{"BeginRead()", "ReadHeader()"}));
  EXPECT_EQ(result_, UDB_QUERY_FAILED);
  EXPECT_TRUE(rows_.empty());
}

TEST_F(QueryProcess, RowsBeforeAFailureStay) {
  Calls().Script("ReadRecord", {0, 0, -1});
  message_.FeedRows({RowWithCount(1), RowWithCount(2), RowWithCount(3)});
  EXPECT_EQ(Process(), UDB_QUERY_FAILED);
  EXPECT_EQ(AllTimes(rows_), (Strings{"0-0 x1", "0-0 x2"}));
}

TEST_F(QueryProcess, PositiveResultsAreNoFailure) {
  Calls().Script("ReadHeader", {1});
  Calls().Script("ReadRecord", {7, 1});
  message_.FeedRows({RowWithCount(5)});
  EXPECT_EQ(Process(), 0);
  EXPECT_EQ(AllTimes(rows_), Strings{"0-0 x5"});
}

// Calls its marker by another number.
class OddlyMarkedMessage : public ScriptedMessage {
 public:
  explicit OddlyMarkedMessage(int marker) : marker_(marker) {}
  int IsMarker() const override { return ScriptedMessage::IsMarker() != 0 ? marker_ : 0; }

 private:
  int marker_;
};

TEST_F(QueryProcess, MarkerIsAnythingButZero) {
  for (const int marker : {2, -1}) {
    OddlyMarkedMessage message(marker);
    message.FeedRows({RowWithCount(5)});
    rows_.clear();
    Calls().Reset();
    Calls().Script("ReadRecord", {0, 0, -1});  // nothing behind the marker
    EXPECT_EQ(query_.process(&message, &rows_), 0) << marker;
    EXPECT_EQ(AllTimes(rows_), Strings{"0-0 x5"}) << marker;
  }
}

TEST_F(QueryProcess, FailedRecordIsNotAskedForItsMarker) {
  Calls().Script("ReadRecord", {-1});
  EXPECT_EQ(ReadingCalls(), (Strings{"BeginRead()", "ReadHeader()", "ReadRecord()"}));
}

TEST_F(QueryProcess, FailedHeaderIsLogged) {
  const auto fail = [this] {
    Calls().Script("ReadHeader", {-1});
    Process();
  };
  message_.OnFailure(7);
  ExpectLogged(1, "Udb-header read error.", fail);
  message_.OnFailure(8);
  ExpectLogged(1, "Udb ReadHeader() error {i4:8}", fail);
}

TEST_F(QueryProcess, FailedRecordIsLogged) {
  const auto fail = [this] {
    Calls().Script("ReadRecord", {-1});
    Process();
  };
  message_.OnFailure(7);
  ExpectLogged(1, "Udb-record read error.", fail);
  message_.OnFailure(-1);
  ExpectLogged(1, "Udb ReadRecord() error {i4:-1}", fail);
}

}  // namespace
}  // namespace packetdb::test
