#include <gtest/gtest.h>

#include "host/bus/answer_code.h"
#include "tests/host/bus/support.h"

namespace packetdb::host {
namespace {

// A message on which a table of kind 1 may be declared.
struct Writing {
  RawPeer peer;
  Message message{peer.connection};
  int number = 7;

  // Columns 1 (an integer) and 2 (3 bytes).
  void Declare(int count, int marker = 0) {
    message.SetKind(kKindRequest);
    message.AddColumn(kIntegerBit | 1, 4);
    message.AddColumn(2, 3);
    message.SetRecordCount(count);
    message.SetMarkerFlag(marker);
  }
  int WriteRow() {
    message.SetValue(1, &number);
    message.SetValue(2, "abc");
    return message.WriteRecord();
  }
  std::string Sent() {
    peer.connection.Flush();
    return peer.Receive();
  }
};

TEST(MessageWrite, PutsIntegersInNetworkOrderAndBytesAsTheyAre) {
  Writing writing;
  writing.Declare(1);
  ASSERT_EQ(writing.message.WriteHeader(), 0);
  ASSERT_EQ(writing.WriteRow(), 0);
  const std::string sent = writing.Sent();
  EXPECT_EQ(sent.substr(sent.size() - 7), Big32(7) + "abc");
}

TEST(MessageWrite, EndsATableWithAnEmptyMarkerFrame) {
  Writing writing;
  writing.Declare(kCountNotAnnounced, 1);
  ASSERT_EQ(writing.message.WriteHeader(), 0);
  ASSERT_EQ(writing.message.WriteMarker(), 0);
  const std::string sent = writing.Sent();
  EXPECT_EQ(sent.substr(sent.size() - 6), FrameBytes(3, ""));
}

TEST(MessageWrite, FailsAtTheHeaderWhenAColumnWasRefused) {
  Writing writing;
  writing.Declare(1);
  EXPECT_EQ(writing.message.AddColumn(kIntegerBit | 3, 3), -1);
  EXPECT_EQ(LastError(writing.message), BusError::kBadIntegerSize);
  EXPECT_EQ(writing.message.AddColumn(1, 4), -1);
  EXPECT_EQ(writing.message.WriteHeader(), -1);
  EXPECT_EQ(LastError(writing.message), BusError::kBadIntegerSize) << "the first reason";
  EXPECT_EQ(writing.Sent(), "");
}

TEST(MessageWrite, FailsAtTheHeaderForABadKindCountOrFlag) {
  Writing writing;
  EXPECT_EQ(writing.message.SetKind(2), -1);
  EXPECT_EQ(writing.message.WriteHeader(), -1);
  EXPECT_EQ(LastError(writing.message), BusError::kBadKind);
  writing.Declare(-2);
  EXPECT_EQ(writing.message.WriteHeader(), -1);
  EXPECT_EQ(LastError(writing.message), BusError::kBadRecordCount);
  writing.Declare(1, 2);
  EXPECT_EQ(writing.message.WriteHeader(), -1);
  EXPECT_EQ(LastError(writing.message), BusError::kBadMarkerFlag);
  EXPECT_EQ(writing.Sent(), "");
}

TEST(MessageWrite, StartsOverWithTheKindBeforeTheHeader) {
  Writing writing;
  writing.Declare(-2);
  writing.Declare(1);
  EXPECT_EQ(writing.message.WriteHeader(), 0);
}

TEST(MessageWrite, RefusesATableWithoutColumnsOrWithoutEnd) {
  Writing writing;
  writing.message.SetKind(kKindRequest);
  writing.message.SetRecordCount(1);
  EXPECT_EQ(writing.message.WriteHeader(), -1);
  EXPECT_EQ(LastError(writing.message), BusError::kNoColumns);
  writing.Declare(kCountNotAnnounced, 0);
  EXPECT_EQ(writing.message.WriteHeader(), -1);
  EXPECT_EQ(LastError(writing.message), BusError::kEndlessTable);
}

TEST(MessageWrite, DeclaresNothingBeforeTheKind) {
  Writing writing;
  for (int result : {writing.message.AddColumn(1, 4), writing.message.SetRecordCount(1),
                     writing.message.SetMarkerFlag(0), writing.message.WriteHeader()}) {
    EXPECT_EQ(result, -1);
  }
  EXPECT_EQ(LastError(writing.message), BusError::kWrongOrder);
}

TEST(MessageWrite, DeclaresNothingAfterTheHeader) {
  Writing writing;
  writing.Declare(1);
  ASSERT_EQ(writing.message.WriteHeader(), 0);
  for (int result : {writing.message.SetKind(1), writing.message.AddColumn(9, 4),
                     writing.message.SetRecordCount(1), writing.message.SetMarkerFlag(0),
                     writing.message.WriteHeader()}) {
    EXPECT_EQ(result, -1);
  }
  EXPECT_EQ(LastError(writing.message), BusError::kWrongOrder);
  EXPECT_EQ(writing.WriteRow(), 0) << "the table goes on undisturbed";
}

TEST(MessageWrite, WritesNoRecordValueOrMarkerBeforeTheHeader) {
  Writing writing;
  writing.Declare(1, 1);
  for (int result : {writing.message.SetValue(1, &writing.number), writing.message.WriteRecord(),
                     writing.message.WriteMarker()}) {
    EXPECT_EQ(result, -1);
  }
  EXPECT_EQ(LastError(writing.message), BusError::kWrongOrder);
  EXPECT_EQ(writing.Sent(), "");
}

TEST(MessageWrite, FailsAtTheRecordWhenAValueWasRefused) {
  Writing writing;
  writing.Declare(1);
  writing.message.WriteHeader();
  EXPECT_EQ(writing.message.SetValue(3, "x"), -1);
  EXPECT_EQ(LastError(writing.message), BusError::kUnknownColumn);
  EXPECT_EQ(writing.WriteRow(), -1);
  EXPECT_EQ(LastError(writing.message), BusError::kUnknownColumn);
  EXPECT_EQ(writing.message.SetValue(2, nullptr), -1);
  EXPECT_EQ(writing.WriteRow(), -1);
  EXPECT_EQ(LastError(writing.message), BusError::kNoValue);
  EXPECT_EQ(writing.WriteRow(), 0) << "the next row starts afresh";
}

TEST(MessageWrite, LooksColumnsUpWithoutBit31) {
  Writing writing;
  writing.Declare(1);
  writing.message.WriteHeader();
  EXPECT_EQ(writing.message.SetValue(kIntegerBit | 1, &writing.number), -1);
  EXPECT_EQ(LastError(writing.message), BusError::kUnknownColumn);
}

TEST(MessageWrite, NeverSendsAColumnWithoutAValue) {
  Writing writing;
  writing.Declare(2);
  writing.message.WriteHeader();
  ASSERT_EQ(writing.WriteRow(), 0);
  writing.message.SetValue(1, &writing.number);
  EXPECT_EQ(writing.message.WriteRecord(), -1) << "column 2 is not the previous row's";
  EXPECT_EQ(LastError(writing.message), BusError::kMissingValue);
}

TEST(MessageWrite, KnowsOfAll64ColumnsWhetherTheyHaveAValue) {
  Writing writing;
  writing.message.SetKind(kKindRequest);
  for (unsigned int id = 0; id < 64; ++id) writing.message.AddColumn(id, 1);
  writing.message.SetRecordCount(1);
  ASSERT_EQ(writing.message.WriteHeader(), 0);
  for (unsigned int id = 0; id < 63; ++id) writing.message.SetValue(id, "x");
  EXPECT_EQ(writing.message.WriteRecord(), -1);
  EXPECT_EQ(LastError(writing.message), BusError::kMissingValue);
  for (unsigned int id = 0; id < 64; ++id) writing.message.SetValue(id, "x");
  EXPECT_EQ(writing.message.WriteRecord(), 0);
}

TEST(MessageWrite, TakesTheLastOfTwoValues) {
  Writing writing;
  writing.Declare(1);
  writing.message.WriteHeader();
  writing.message.SetValue(2, "old");
  ASSERT_EQ(writing.WriteRow(), 0);
  const std::string sent = writing.Sent();
  EXPECT_EQ(sent.substr(sent.size() - 3), "abc");
}

TEST(MessageWrite, HoldsToTheAnnouncedNumberOfRecords) {
  Writing writing;
  writing.Declare(2, 1);
  writing.message.WriteHeader();
  ASSERT_EQ(writing.WriteRow(), 0);
  EXPECT_EQ(writing.message.WriteMarker(), -1);
  EXPECT_EQ(LastError(writing.message), BusError::kTooFewRecords);
  ASSERT_EQ(writing.WriteRow(), 0);
  EXPECT_EQ(writing.WriteRow(), -1);
  EXPECT_EQ(LastError(writing.message), BusError::kTooManyRecords);
  EXPECT_EQ(writing.message.WriteMarker(), 0);
}

TEST(MessageWrite, IsFinishedWithTheLastAnnouncedRecord) {
  Writing writing;
  writing.Declare(1);
  writing.message.WriteHeader();
  ASSERT_EQ(writing.WriteRow(), 0);
  EXPECT_EQ(writing.WriteRow(), -1);
  EXPECT_EQ(LastError(writing.message), BusError::kWrongOrder);
  EXPECT_EQ(writing.message.SetKind(kKindRequest), -1) << "a message serves one exchange";
}

TEST(MessageWrite, WritesNoMarkerThatWasNotAnnounced) {
  Writing writing;
  writing.Declare(1, 0);
  writing.message.WriteHeader();
  EXPECT_EQ(writing.message.WriteMarker(), -1);
  EXPECT_EQ(LastError(writing.message), BusError::kWrongOrder);
}

TEST(MessageWrite, AnswersATableOfNoRecords) {
  Exchange exchange;
  exchange.server.SetKind(kKindAnswer);
  exchange.server.AddColumn(1, 1);
  exchange.server.SetRecordCount(0);
  ASSERT_EQ(exchange.server.WriteHeader(), 0);
  EXPECT_FALSE(exchange.server.IsTableOpen());
  EXPECT_EQ(exchange.client.ReadHeader(), 0);
  EXPECT_EQ(exchange.client.ReadRecord(), -1);
  EXPECT_EQ(LastError(exchange.client), BusError::kEndOfTable);
}

TEST(MessageWrite, WritesNoAnswerTableBeforeASuccess) {
  RawPeer peer;
  Message unasked(peer.connection);
  unasked.SetKind(kKindAnswer);
  unasked.AddColumn(1, 1);
  unasked.SetRecordCount(1);
  EXPECT_EQ(unasked.WriteHeader(), -1);
  EXPECT_EQ(LastError(unasked), BusError::kWrongOrder);

  Exchange failed(kAnswerNothingOrFailed);
  failed.server.SetKind(kKindAnswer);
  failed.server.AddColumn(1, 1);
  failed.server.SetRecordCount(1);
  EXPECT_EQ(failed.server.WriteHeader(), -1);
  EXPECT_EQ(LastError(failed.server), BusError::kWrongOrder);
}

TEST(MessageWrite, GivesError8WhenTheConnectionFails) {
  Writing writing;
  writing.peer.raw.Close();
  writing.Declare(kCountNotAnnounced, 1);
  ASSERT_EQ(writing.message.WriteHeader(), 0) << "nothing was sent yet";
  int rows = 0;
  while (writing.WriteRow() == 0) ++rows;
  EXPECT_EQ(writing.message.LastError(), 8);
  EXPECT_GT(rows, 1000) << "rows are sent in batches";
  EXPECT_EQ(writing.message.WriteMarker(), -1);
  EXPECT_EQ(writing.message.LastError(), 8);
  Message next(writing.peer.connection);
  next.SetKind(kKindRequest);
  next.AddColumn(1, 1);
  next.SetRecordCount(1);
  EXPECT_EQ(next.WriteHeader(), -1);
  EXPECT_EQ(next.LastError(), 8);
}

TEST(MessageWrite, KeepsTheLastErrorOverASuccess) {
  Exchange exchange;
  EXPECT_EQ(exchange.server.AddColumn(1, 1), -1);
  EXPECT_EQ(udbSendCommandAnswer(&exchange.server, -3), 0);
  EXPECT_EQ(LastError(exchange.server), BusError::kWrongOrder);
}

}  // namespace
}  // namespace packetdb::host
