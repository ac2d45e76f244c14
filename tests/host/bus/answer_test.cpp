#include <gtest/gtest.h>

#include "host/bus/answer_code.h"
#include "tests/host/bus/support.h"

namespace packetdb::host {
namespace {

// Asks over a connection whose server answers with these bytes and closes.
struct Asking {
  explicit Asking(const std::string& answer) {
    WriteRequest(message);
    peer.connection.Flush();
    peer.Receive();
    peer.SendAndClose(answer);
  }
  RawPeer peer;
  Message message{peer.connection};
};

int AnswerTo(const std::string& bytes) {
  Asking asking(bytes);
  // The server took the request and is not read any more: only the answer counts.
  return udbGetCommandAnswer(&asking.message);
}

// Writes a table of one record of which the marker is still due.
void BeginTable(Message& server) {
  server.SetKind(kKindAnswer);
  server.AddColumn(1, 1);
  server.SetRecordCount(kCountNotAnnounced);
  server.SetMarkerFlag(1);
  ASSERT_EQ(server.WriteHeader(), 0);
  server.SetValue(1, "x");
  ASSERT_EQ(server.WriteRecord(), 0);
}

TEST(Answer, TravelsAsItIs) {
  for (int code : {0, 1, -1, -3, -100, -101, -199, -300, 2147483647, -2147483647 - 1}) {
    EXPECT_EQ(AnswerTo(FrameBytes(4, Big32(static_cast<unsigned int>(code)))), code);
  }
}

TEST(Answer, FlushesTheRequest) {
  RawPeer peer(ShortTimeouts());
  Message message(peer.connection);
  WriteRequest(message);
  EXPECT_EQ(peer.Receive(), "");
  udbGetCommandAnswer(&message);
  EXPECT_EQ(peer.Receive(), RequestBytes());
}

TEST(Answer, ThatDoesNotComeIsATimeout) {
  RawPeer peer(ShortTimeouts());
  Message message(peer.connection);
  WriteRequest(message);
  EXPECT_EQ(udbGetCommandAnswer(&message), kAnswerTimedOut);
  EXPECT_EQ(message.LastError(), 7);
}

TEST(Answer, OfAServerThatClosesIsClosed) {
  EXPECT_EQ(AnswerTo(""), kAnswerClosed);
  EXPECT_EQ(AnswerTo(FrameBytes(4, Big32(0)).substr(0, 8)), kAnswerClosed);
}

TEST(Answer, OfAnotherFormIsMalformed) {
  EXPECT_EQ(AnswerTo(FrameBytes(4, "abc")), kAnswerMalformed);
  EXPECT_EQ(AnswerTo(FrameBytes(4, "abcde")), kAnswerMalformed);
  EXPECT_EQ(AnswerTo(FrameBytes(2, Big32(0))), kAnswerMalformed);
  EXPECT_EQ(AnswerTo(FrameBytes(4, Big32(0), 2)), kAnswerMalformed);
  EXPECT_EQ(AnswerTo(Big32(0)), kAnswerMalformed);
}

TEST(Answer, ThatOnlyTheClientMayGiveItselfIsMalformed) {
  for (int code : {-200, -202, -299}) {
    EXPECT_EQ(AnswerTo(FrameBytes(4, Big32(static_cast<unsigned int>(code)))), kAnswerMalformed);
  }
}

TEST(Answer, WithDescriptorsIsAFailedRead) {
  RawPeer peer;
  Message message(peer.connection);
  WriteRequest(message);
  SendDescriptor(peer.raw, STDIN_FILENO);
  EXPECT_EQ(udbGetCommandAnswer(&message), kAnswerReadFailed);
  EXPECT_EQ(message.LastError(), 7);
}

TEST(Answer, ToARequestThatCannotBeSentIsAFailedWrite) {
  RawPeer peer;
  Message message(peer.connection);
  WriteRequest(message);
  peer.raw.Close();
  EXPECT_EQ(udbGetCommandAnswer(&message), kAnswerWriteFailed);
  EXPECT_EQ(message.LastError(), 8);
}

TEST(Answer, NeedsACompleteRequest) {
  RawPeer peer;
  Message message(peer.connection);
  EXPECT_EQ(udbGetCommandAnswer(&message), kAnswerNotAsked);
  message.SetKind(kKindRequest);
  message.AddColumn(1, 1);
  message.SetRecordCount(1);
  ASSERT_EQ(message.WriteHeader(), 0);
  EXPECT_EQ(udbGetCommandAnswer(&message), kAnswerNotAsked);
  EXPECT_EQ(LastError(message), BusError::kWrongOrder);
}

TEST(Answer, IsAskedForOnce) {
  Exchange exchange;
  EXPECT_EQ(udbGetCommandAnswer(&exchange.client), kAnswerNotAsked);
}

TEST(Answer, CodesOfTheClientsEndAreDistinctAndReserved) {
  const int codes[] = {kAnswerNotAsked, kAnswerWriteFailed, kAnswerTimedOut,
                       kAnswerClosed,   kAnswerMalformed,   kAnswerReadFailed};
  for (std::size_t i = 0; i < std::size(codes); ++i) {
    EXPECT_TRUE(IsLocalAnswer(codes[i]));
    for (std::size_t j = 0; j < i; ++j) EXPECT_NE(codes[i], codes[j]);
  }
  for (int code : {0, -3, -100, -101, -110, -111, -199, -300}) EXPECT_FALSE(IsLocalAnswer(code));
}

TEST(SendAnswer, RefusesTheCodesOfTheClientsEnd) {
  Pair pair;
  Message client(pair.client);
  WriteRequest(client);
  pair.client.Flush();
  Message server(pair.server);
  ReadRequest(server);
  EXPECT_LT(udbSendCommandAnswer(&server, kAnswerTimedOut), 0);
  EXPECT_EQ(LastError(server), BusError::kReservedAnswer);
  EXPECT_FALSE(server.sent_answer());
  EXPECT_EQ(udbSendCommandAnswer(&server, -3), 0);
}

TEST(SendAnswer, NeedsARequest) {
  RawPeer peer;
  Message message(peer.connection);
  EXPECT_LT(udbSendCommandAnswer(&message, 0), 0);
  EXPECT_EQ(LastError(message), BusError::kWrongOrder);
  EXPECT_EQ(peer.Receive(), "");
}

TEST(SendAnswer, AnswersOnceUnlessASuccessIsTakenBack) {
  Exchange failed(-3);
  EXPECT_LT(udbSendCommandAnswer(&failed.server, -3), 0);
  Exchange served(0);
  EXPECT_LT(udbSendCommandAnswer(&served.server, 0), 0);
  EXPECT_EQ(udbSendCommandAnswer(&served.server, -3), 0);
  EXPECT_LT(udbSendCommandAnswer(&served.server, -3), 0);
  EXPECT_EQ(served.server.sent_answer(), -3);
}

TEST(SendAnswer, FailsQuietlyWhenTheClientIsGone) {
  RawPeer peer;
  peer.SendAndClose(RequestBytes());
  Message server(peer.connection);
  ReadRequest(server);
  EXPECT_LT(udbSendCommandAnswer(&server, 0), 0);
  EXPECT_EQ(server.LastError(), 8);
  EXPECT_LT(udbSendCommandAnswer(&server, -3), 0);
  EXPECT_EQ(server.LastError(), 8);
  EXPECT_FALSE(server.sent_answer());
}

TEST(SendAnswer, InATableIsAClearReadErrorForTheClient) {
  Exchange exchange;
  BeginTable(exchange.server);
  ASSERT_EQ(udbSendCommandAnswer(&exchange.server, -3), 0);
  ASSERT_EQ(exchange.client.ReadHeader(), 0);
  ASSERT_EQ(exchange.client.ReadRecord(), 0);
  EXPECT_EQ(exchange.client.ReadRecord(), -1);
  EXPECT_EQ(LastError(exchange.client), BusError::kTableAborted);
  EXPECT_EQ(exchange.client.abort_code(), -3);
  EXPECT_EQ(exchange.client.IsMarker(), 0);
  EXPECT_EQ(exchange.client.ReadRecord(), -1) << "and it stays that";
  EXPECT_EQ(LastError(exchange.client), BusError::kTableAborted);
}

TEST(SendAnswer, InsteadOfATableIsAClearReadErrorForTheClient) {
  Exchange exchange;
  ASSERT_EQ(udbSendCommandAnswer(&exchange.server, -3), 0);
  EXPECT_EQ(exchange.client.ReadHeader(), -1);
  EXPECT_EQ(LastError(exchange.client), BusError::kTableAborted);
}

TEST(SendAnswer, InATableEndsIt) {
  Exchange exchange;
  BeginTable(exchange.server);
  ASSERT_EQ(udbSendCommandAnswer(&exchange.server, -3), 0);
  EXPECT_FALSE(exchange.server.IsTableOpen());
  EXPECT_EQ(exchange.server.WriteMarker(), -1);
  EXPECT_EQ(LastError(exchange.server), BusError::kWrongOrder);
}

TEST(SendAnswer, LeavesTheConnectionToTheNextExchangeAfterAnAbort) {
  Exchange exchange;
  BeginTable(exchange.server);
  udbSendCommandAnswer(&exchange.server, -3);
  exchange.client.ReadHeader();
  while (exchange.client.ReadRecord() == 0) {
  }
  Message next(exchange.pair.client);
  WriteRequest(next);
  exchange.pair.client.Flush();
  Message served(exchange.pair.server);
  ReadRequest(served);
  ASSERT_EQ(udbSendCommandAnswer(&served, 5), 0);
  EXPECT_EQ(udbGetCommandAnswer(&next), 5);
}

TEST(SendAnswer, BehindACompleteTableIsRefused) {
  Exchange exchange;
  BeginTable(exchange.server);
  ASSERT_EQ(exchange.server.WriteMarker(), 0);
  EXPECT_LT(udbSendCommandAnswer(&exchange.server, -3), 0);
  EXPECT_EQ(LastError(exchange.server), BusError::kWrongOrder);
}

TEST(SendAnswer, TwiceSuccessOrOfAnotherFormIsMalformedInATable) {
  for (const std::string& frame : {FrameBytes(4, Big32(0)), FrameBytes(4, "abc")}) {
    Exchange exchange;
    send(exchange.pair.server.fd(), frame.data(), frame.size(), 0);
    EXPECT_EQ(exchange.client.ReadHeader(), -1);
    EXPECT_TRUE(IsMalformed(LastError(exchange.client)));
  }
}

}  // namespace
}  // namespace packetdb::host
