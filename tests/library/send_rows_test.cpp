// The answer table.
#include <cstdint>
#include <ios>
#include <sstream>

#include "tests/library/server_fixture.h"

namespace packetdb::test {
namespace {

class SendRows : public ServerTest {
 protected:
  SendRows() { message_ = ScriptedMessage(); }

  void Send() { server_.SendRows(&message_, selection_); }
  // What sending throws when one operation fails.
  std::string FailureOf(const std::string& operation) {
    message_ = ScriptedMessage();
    Calls().Reset();
    Calls().Script(operation, {-1});
    try {
      Send();
      return "none";
    } catch (const XPacketDb& failure) {
      return std::string(failure.what()) + (failure.m_Fatal ? " fatal" : "");
    }
  }

  DbItemSelection selection_{Record(EventAt(2)), Record(EventAt(1))};
};

TEST_F(SendRows, EmptySelectionIsOnlyAnAnswerCode) {
  selection_.clear();
  EXPECT_EQ(CallsOf([this] { Send(); }), Strings{"udbSendCommandAnswer(-3)"});
}

TEST_F(SendRows, TableIsDeclaredInOrder) {
  const Strings calls = CallsOf([this] { Send(); });
  EXPECT_EQ(Strings(calls.begin(), calls.begin() + 20),
            (Strings{"udbSendCommandAnswer(0)", "SetKind(0)",           "SetRecordCount(-1)",
                     "SetMarkerFlag(1)",        "AddColumn(int 1, 4)",  "AddColumn(int 2, 1)",
                     "AddColumn(int 3, 4)",     "AddColumn(int 4, 4)",  "AddColumn(int 5, 4)",
                     "AddColumn(int 6, 4)",     "AddColumn(int 7, 4)",  "AddColumn(int 8, 4)",
                     "AddColumn(int 9, 2)",     "AddColumn(10, 1)",     "AddColumn(int 11, 2)",
                     "AddColumn(int 12, 2)",    "AddColumn(int 13, 4)", "AddColumn(int 14, 4)",
                     "AddColumn(int 15, 4)",    "WriteHeader()"}));
}

TEST_F(SendRows, RowIsWrittenColumnByColumn) {
  selection_ = {Record(DistinctEvent(), 99)};
  const Strings calls = CallsOf([this] { Send(); });
  EXPECT_EQ(Strings(calls.begin() + 20, calls.end()),
            (Strings{"SetValue(1, 84838281)", "SetValue(2, c1)", "SetValue(3, a4a3a2a1)",
                     "SetValue(4, b4b3b2b1)", "SetValue(5, 04030201)", "SetValue(6, 14131211)",
                     "SetValue(7, 24232221)", "SetValue(8, 34333231)", "SetValue(9, 5251)",
                     "SetValue(10, 41)", "SetValue(11, 0605)", "SetValue(12, 1615)",
                     "SetValue(13, 0a090807)", "SetValue(14, 1a191817)", "SetValue(15, 94939291)",
                     "WriteRecord()", "WriteMarker()"}));
}

TEST_F(SendRows, RowsFollowTheSelection) {
  Send();
  ASSERT_EQ(message_.WrittenRows().size(), 2u);
  EXPECT_EQ(message_.WrittenRows()[0].at(3), BytesOf(2));
  EXPECT_EQ(message_.WrittenRows()[1].at(3), BytesOf(1));
  EXPECT_EQ(Calls().CountOf("WriteMarker"), 1);
  EXPECT_EQ(Calls().All().back(), "WriteMarker()");
}

TEST_F(SendRows, EveryCheckedOperationThatFailsIsFatal) {
  EXPECT_EQ(FailureOf("udbSendCommandAnswer"), "sending UDB_GET_DBQUERY answer fatal");
  EXPECT_EQ(FailureOf("AddColumn"), "adding column id failed fatal");
  EXPECT_EQ(FailureOf("WriteHeader"), "writing header fatal");
  EXPECT_EQ(FailureOf("SetValue"), "setting value of column failed fatal");
  EXPECT_EQ(FailureOf("WriteRecord"), "writing record fatal");
  EXPECT_EQ(FailureOf("WriteMarker"), "writing marker fatal");
}

TEST_F(SendRows, UncheckedOperationsMayFail) {
  for (const std::string operation : {"SetKind", "SetRecordCount", "SetMarkerFlag"}) {
    EXPECT_EQ(FailureOf(operation), "none");
    EXPECT_EQ(Calls().All().back(), "WriteMarker()");
  }
}

TEST_F(SendRows, PositiveResultsAreNoFailure) {
  for (const std::string operation : {"udbSendCommandAnswer", "AddColumn", "WriteHeader",
                                      "SetValue", "WriteRecord", "WriteMarker"}) {
    Calls().Script(operation, {1});
  }
  EXPECT_NO_THROW(Send());
}

TEST_F(SendRows, FailureEndsTheTableAtOnce) {
  FailureOf("AddColumn");
  EXPECT_EQ(Calls().All().back(), "AddColumn(int 1, 4)");
  FailureOf("WriteHeader");
  EXPECT_EQ(Calls().All().back(), "WriteHeader()");
  FailureOf("SetValue");
  EXPECT_EQ(Calls().All().back(), "SetValue(1, 01000000)");
  FailureOf("WriteRecord");
  EXPECT_EQ(Calls().CountOf("WriteRecord"), 1);
  EXPECT_EQ(Calls().CountOf("WriteMarker"), 0);
}

TEST_F(SendRows, EveryColumnIsChecked) {
  for (int column = 0; column < 15; ++column) {
    message_ = ScriptedMessage();
    Calls().Reset();
    Calls().FailCall(4 + column);
    EXPECT_THROW(Send(), XPacketDb) << column;
    EXPECT_EQ(Calls().CountOf("AddColumn"), column + 1);
  }
}

TEST_F(SendRows, EveryValueIsChecked) {
  for (int column = 0; column < 15; ++column) {
    message_ = ScriptedMessage();
    Calls().Reset();
    Calls().FailCall(20 + column);
    EXPECT_THROW(Send(), XPacketDb) << column;
    EXPECT_EQ(Calls().CountOf("SetValue"), column + 1);
  }
}

TEST_F(SendRows, NumberOfRowsIsLogged) {
  LinesOf(4, [this] { Send(); });
  EXPECT_EQ(Log().Texts(4), Strings{"wrote 2 records"});
  const std::string marked = Log().Marked(4).front();
  ExpectLogged(4, marked, [this] { Send(); });
}

TEST_F(SendRows, TableWithoutItsMarkerLogsNoRows) {
  EXPECT_EQ(LinesOf(4, [this] { FailureOf("WriteMarker"); }), Strings{});
}

TEST_F(SendRows, EmptyTableLogsNoRows) {
  selection_.clear();
  LinesOf(5, [this] { Send(); });
  EXPECT_TRUE(Log().Lines().empty());
}

TEST_F(SendRows, ColumnsAreTraced) {
  LinesOf(5, [this] { Send(); });
  const Strings texts = Log().Texts(5);
  EXPECT_EQ(texts[0], "adding column 2147483649 with size 4");
  EXPECT_EQ(texts[1], "adding column 2147483650 with size 1");
  EXPECT_EQ(texts[9], "adding column 10 with size 1");
  EXPECT_EQ(texts[14], "adding column 2147483663 with size 4");
  EXPECT_EQ(texts.size(), 15u + 2 * 15);
}

TEST_F(SendRows, ValuesAreTracedWithTheirAddresses) {
  selection_ = {Record(EventAt(2))};
  LinesOf(5, [this] { Send(); });
  const auto address = reinterpret_cast<std::uintptr_t>(&selection_.front().m_Item);
  const auto line = [&](std::size_t offset, int column) {
    std::ostringstream text;
    text << "adding value at {x8:" << std::hex << address + offset << "} for column " << std::dec
         << column;
    return text.str();
  };
  const Strings texts = Log().Texts(5);
  EXPECT_EQ(texts[15], line(0x27, 1));
  EXPECT_EQ(texts[16], line(0x2B, 2));
  EXPECT_EQ(texts[24], line(0x12, 10));
  EXPECT_EQ(texts[29], line(0x40, 15));
}

TEST_F(SendRows, TracesComeBeforeTheCalls) {
  const auto traced_before_failing = [this](const std::string& operation) {
    Log().SetLevel(5);
    Log().Forget();
    FailureOf(operation);
    return Log().Texts(5).size();
  };
  EXPECT_EQ(traced_before_failing("AddColumn"), 1u);
  EXPECT_EQ(traced_before_failing("SetValue"), 16u);
}

TEST_F(SendRows, TracesBelongToLevelFive) {
  Log().SetLevel(4);
  Send();
  EXPECT_EQ(Log().Attempts().size(), 1u);
}

}  // namespace
}  // namespace packetdb::test
