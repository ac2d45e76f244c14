// Encoding a query, sending it and waiting for the status.
#include "tests/support/fixture.h"

namespace packetdb::test {
namespace {

class QueryWrite : public LibraryTest {
 protected:
  QueryWrite() { SetInterface(query_, "eth0"); }

  int Write() { return query_.write(&message_); }
  Strings Sent() {
    return CallsOf([this] { EXPECT_EQ(Write(), 0); });
  }
  // The calls for a query that also declares and sets one more field.
  static Strings With(const std::string& declared, const std::string& set) {
    return {"SetKind(1)",
            "AddColumn(int 0, 4)",
            "AddColumn(30, 32)",
            "AddColumn(31, 1)",
            declared,
            "SetRecordCount(1)",
            "WriteHeader()",
            "SetValue(0, 64000000)",
            kNameValue,
            "SetValue(31, 01)",
            set,
            "WriteRecord()",
            "udbGetCommandAnswer()"};
  }

  inline static const std::string kNameValue = "SetValue(30, 65746830" + std::string(56, '0') + ")";
  ScriptedMessage message_;
  Query query_;
};

TEST_F(QueryWrite, EmptyQueryHasThreeFields) {
  EXPECT_EQ(Sent(),
            (Strings{"SetKind(1)", "AddColumn(int 0, 4)", "AddColumn(30, 32)", "AddColumn(31, 1)",
                     "SetRecordCount(1)", "WriteHeader()", "SetValue(0, 64000000)", kNameValue,
                     "SetValue(31, 01)", "WriteRecord()", "udbGetCommandAnswer()"}));
}

TEST_F(QueryWrite, AllBytesOfTheNameAreSent) {
  SetInterface(query_, "0123456789abcdef0123456789abcdef");
  Write();
  EXPECT_EQ(message_.WrittenRows().front().at(30), "0123456789abcdef0123456789abcdef");
}

TEST_F(QueryWrite, EachCriterionIsSentByItself) {
  const auto sends = [this](auto Query::*field, auto value, const std::string& declared,
                            const std::string& set) {
    query_.*field = value;
    EXPECT_EQ(Sent(), With("AddColumn(" + declared + ")", "SetValue(" + set + ")"));
    query_.*field = 0;
  };
  sends(&Query::m_TimeStart, -2, "int 2, 8", "2, feffffffffffffff");
  sends(&Query::m_TimeEnd, 0x0102030405060708, "int 3, 8", "3, 0807060504030201");
  sends(&Query::m_RecCount, 0x01020304u, "int 8, 4", "8, 04030201");
  sends(&Query::m_FlagsWanted, 0x01020304u, "int 26, 4", "26, 04030201");
  sends(&Query::m_FlagsNotWanted, 0x01020304u, "int 27, 4", "27, 04030201");
  sends(&Query::m_Direction, std::uint8_t{2}, "32, 1", "32, 02");
  sends(&Query::m_IdSrc, 0x01020304u, "int 20, 4", "20, 04030201");
  sends(&Query::m_IdDst, 0x01020304u, "int 21, 4", "21, 04030201");
  sends(&Query::m_IpSrcFrom, 0x01020304u, "int 16, 4", "16, 04030201");
  sends(&Query::m_IpSrcTo, 0x01020304u, "int 17, 4", "17, 04030201");
  sends(&Query::m_IpDstFrom, 0x01020304u, "int 18, 4", "18, 04030201");
  sends(&Query::m_IpDstTo, 0x01020304u, "int 19, 4", "19, 04030201");
  sends(&Query::m_PortSrcFrom, std::uint16_t{0x0102}, "int 22, 2", "22, 0201");
  sends(&Query::m_PortSrcTo, std::uint16_t{0x0102}, "int 23, 2", "23, 0201");
  sends(&Query::m_PortDstFrom, std::uint16_t{0x0102}, "int 24, 2", "24, 0201");
  sends(&Query::m_PortDstTo, std::uint16_t{0x0102}, "int 25, 2", "25, 0201");
}

TEST_F(QueryWrite, ListsAreSentAsBytes) {
  query_.m_Protocols.assign({6, 255, 0});
  EXPECT_EQ(Sent(), With("AddColumn(28, 3)", "SetValue(28, 06ff00)"));
  query_.m_Protocols.clear();
  query_.m_Errcodes.assign({5, -2});
  EXPECT_EQ(Sent(), With("AddColumn(15, 8)", "SetValue(15, 05000000feffffff)"));
}

TEST_F(QueryWrite, VersionIsSentEvenWhenZero) {
  query_.m_Version = 0;
  Write();
  EXPECT_EQ(Hex(message_.WrittenRows().front().at(31)), "00");
}

TEST_F(QueryWrite, FieldsAreDeclaredAndSetInTheirOrder) {
  query_.m_TimeStart = query_.m_TimeEnd = 1;
  query_.m_RecCount = query_.m_FlagsWanted = query_.m_FlagsNotWanted = 1;
  query_.m_Direction = 1;
  query_.m_IdSrc = query_.m_IdDst = 1;
  query_.m_IpSrcFrom = query_.m_IpSrcTo = query_.m_IpDstFrom = query_.m_IpDstTo = 1;
  query_.m_PortSrcFrom = query_.m_PortSrcTo = query_.m_PortDstFrom = query_.m_PortDstTo = 1;
  query_.m_Protocols.assign({6});
  query_.m_Errcodes.assign({1});
  Sent();
  EXPECT_EQ(Calls().Of("AddColumn"),
            (Strings{"AddColumn(int 0, 4)",  "AddColumn(30, 32)",    "AddColumn(31, 1)",
                     "AddColumn(int 2, 8)",  "AddColumn(int 3, 8)",  "AddColumn(int 8, 4)",
                     "AddColumn(int 26, 4)", "AddColumn(int 27, 4)", "AddColumn(32, 1)",
                     "AddColumn(int 20, 4)", "AddColumn(int 21, 4)", "AddColumn(int 16, 4)",
                     "AddColumn(int 17, 4)", "AddColumn(int 18, 4)", "AddColumn(int 19, 4)",
                     "AddColumn(int 22, 2)", "AddColumn(int 23, 2)", "AddColumn(int 24, 2)",
                     "AddColumn(int 25, 2)", "AddColumn(28, 1)",     "AddColumn(15, 4)"}));
  std::vector<std::string> set_ids;
  for (const auto& call : Calls().Of("SetValue"))
    set_ids.push_back(call.substr(9, call.find(',') - 9));
  EXPECT_EQ(set_ids, (Strings{"0",  "30", "31", "2",  "3",  "8",  "26", "27", "32", "20", "21",
                              "16", "17", "18", "19", "22", "23", "24", "25", "28", "15"}));
}

TEST_F(QueryWrite, FailedHeaderEndsTheExchange) {
  Calls().Script("WriteHeader", {-1});
  const Strings calls = CallsOf([this] { EXPECT_EQ(Write(), UDB_QUERY_FAILED); });
  EXPECT_EQ(calls.back(), "WriteHeader()");
}

TEST_F(QueryWrite, FailedRecordEndsTheExchange) {
  Calls().Script("WriteRecord", {-1});
  const Strings calls = CallsOf([this] { EXPECT_EQ(Write(), UDB_QUERY_FAILED); });
  EXPECT_EQ(calls.back(), "WriteRecord()");
}

TEST_F(QueryWrite, PositiveResultsAreNoFailure) {
  Calls().Script("WriteHeader", {1});
  Calls().Script("WriteRecord", {1});
  EXPECT_EQ(Write(), 0);
}

TEST_F(QueryWrite, OperationsWithoutAConsequenceMayFail) {
  const Strings undisturbed = Sent();
  Calls().Script("SetKind", {-1});
  Calls().Script("AddColumn", {-1, -1, -1});
  Calls().Script("SetRecordCount", {-1});
  Calls().Script("SetValue", {-1, -1, -1});
  EXPECT_EQ(Sent(), undisturbed);
}

TEST_F(QueryWrite, FailedHeaderIsLogged) {
  const auto fail = [this] {
    Calls().Script("WriteHeader", {-1});
    Write();
  };
  message_.OnFailure(8);
  ExpectLogged(1, "Udb-header write error.", fail);
  message_.OnFailure(-9);
  ExpectLogged(1, "Udb WriteHeader() error {i4:-9}", fail);
  message_.OnFailure(7);
  ExpectLogged(1, "Udb WriteHeader() error {i4:7}", fail);
}

TEST_F(QueryWrite, FailedRecordIsLogged) {
  const auto fail = [this] {
    Calls().Script("WriteRecord", {-1});
    Write();
  };
  message_.OnFailure(8);
  ExpectLogged(1, "Udb-record write error.", fail);
  message_.OnFailure(7);
  ExpectLogged(1, "Udb WriteRecord() error {i4:7}", fail);
}

TEST_F(QueryWrite, FailureIsOneLine) {
  message_.OnFailure(8);
  Calls().Script("WriteHeader", {-1});
  EXPECT_EQ(LinesOf(1, [this] { Write(); }).size(), 1u);
}

TEST_F(QueryWrite, StatusIsReturned) {
  for (const int status : {0, -3, 5, -100, -101, -2}) {
    Calls().Script("udbGetCommandAnswer", {status});
    EXPECT_EQ(Write(), status);
  }
}

TEST_F(QueryWrite, EmptyResultIsLogged) {
  ExpectLogged(3, "UDB_GET_DBQUERY empty result", [this] {
    Calls().Script("udbGetCommandAnswer", {-3});
    Write();
  });
}

TEST_F(QueryWrite, ErrorStatusIsLogged) {
  ExpectLogged(1, "UDB_GET_DBQUERY query error {i4:-100}", [this] {
    Calls().Script("udbGetCommandAnswer", {-100});
    Write();
  });
  Calls().Script("udbGetCommandAnswer", {44});
  EXPECT_EQ(LinesOf(1, [this] { Write(); }), Strings{"UDB_GET_DBQUERY query error {i4:44}"});
}

TEST_F(QueryWrite, ExchangeIsTimedAtLevelFour) {
  Clock().QueueReadings({{1700000000, 123456}, {1700000061, 7}});
  Clock().Set(1);
  const Strings lines = LinesOf(4, [this] { Write(); });
  EXPECT_EQ(lines, (Strings{"Select start: {i4:472222}:{i4:27861111}:{i4:20}.{i8:123456}",
                            "Select end: {i4:472222}:{i4:27861112}:{i4:21}.{i8:7}"}));
}

TEST_F(QueryWrite, TimesBeyondThirtyOneBitsAreNotCut) {
  Clock().QueueReadings({{2147483648, 1}, {4294967296, 2}});
  Clock().Set(1);
  const Strings lines = LinesOf(4, [this] { Write(); });
  EXPECT_EQ(lines, (Strings{"Select start: {i4:596523}:{i4:35194871}:{i4:8}.{i8:1}",
                            "Select end: {i4:1193046}:{i4:70389742}:{i4:16}.{i8:2}"}));
}

TEST_F(QueryWrite, EmptyExchangeIsTimedBehindItsNotice) {
  Clock().Set(3661, 5);
  Calls().Script("udbGetCommandAnswer", {-3});
  LinesOf(4, [this] { Write(); });
  Strings texts;
  for (const auto& line : Log().Lines()) texts.push_back(line.Text());
  EXPECT_EQ(texts, (Strings{"UDB_GET_DBQUERY empty result", "Select start: 1:60:1.5",
                            "Select end: 1:60:1.5"}));
}

TEST_F(QueryWrite, EveryTimingLineBelongsToLevelFour) {
  Clock().Set(3661, 5);
  ExpectLogged(4, "Select start: {i4:1}:{i4:60}:{i4:1}.{i8:5}", [this] { Write(); });
  ExpectLogged(4, "Select end: {i4:1}:{i4:60}:{i4:1}.{i8:5}", [this] { Write(); });
}

TEST_F(QueryWrite, ClockIsReadAroundTheExchange) {
  Clock().Set(1);
  for (const int level : {0, 4}) {
    Log().SetLevel(level);
    const Strings calls = Sent();
    EXPECT_EQ(
        Strings(calls.end() - 4, calls.end()),
        (Strings{"WriteRecord()", "gettimeofday()", "udbGetCommandAnswer()", "gettimeofday()"}));
  }
}

TEST_F(QueryWrite, FailedExchangeIsNotTimed) {
  Clock().Set(1);
  Calls().Script("udbGetCommandAnswer", {5});
  EXPECT_EQ(LinesOf(4, [this] { Write(); }), Strings{});
}

TEST_F(QueryWrite, ReaderUnderstandsTheWriter) {
  query_ = QueryBetween(100, 200);
  query_.m_RecCount = 5;
  query_.m_Direction = 1;
  query_.m_IpSrcFrom = 0x0a000001;
  query_.m_PortDstTo = 1024;
  query_.m_Protocols.assign({6, 17});
  query_.m_Errcodes.assign({-2, 40});
  Write();
  ScriptedMessage received;
  received.CarryRow(message_.WrittenRows().front());
  Query decoded(0);
  decoded.read(&received);
  EXPECT_EQ(decoded.m_AdapterNameHash, adapter_name_hash("eth0"));
  decoded.m_AdapterNameHash = 0;
  ScriptedMessage again;
  decoded.write(&again);
  EXPECT_EQ(again.WrittenRows(), message_.WrittenRows());
}

}  // namespace
}  // namespace packetdb::test
