#include <gtest/gtest.h>

#include "tests/host/bus/support.h"

namespace packetdb::host {
namespace {

// The payload of a header of one column: identifier 1, 2 bytes.
std::string Header(int kind, int count, bool marker) {
  return Big32(static_cast<unsigned int>(kind)) + Big32(static_cast<unsigned int>(count)) +
         std::string{static_cast<char>(marker), '\1'} + Big32(1) + Big32(2);
}

const std::string kHeaderFrame = FrameBytes(1, Header(kKindRequest, 2, false));
const std::string kRow = FrameBytes(2, "ab");
const std::string kMarkerFrame = FrameBytes(3, "");

// A message that reads what a peer sent before it closed.
struct Reading {
  explicit Reading(const std::string& bytes) {
    peer.SendAndClose(bytes);
    message.BeginRead();
  }
  RawPeer peer;
  Message message{peer.connection};
};

// The error with which reading a table of these frames ends.
BusError ReadingEndsWith(const std::string& bytes) {
  Reading reading(bytes);
  if (reading.message.ReadHeader() < 0) return LastError(reading.message);
  while (reading.message.ReadRecord() == 0) {
  }
  return LastError(reading.message);
}

TEST(MessageRead, EndsAfterTheAnnouncedRecordsWithoutReadingOn) {
  Reading reading(kHeaderFrame + kRow + kRow + kHeaderFrame);
  ASSERT_EQ(reading.message.ReadHeader(), 0);
  EXPECT_EQ(reading.message.ReadRecord(), 0);
  EXPECT_EQ(reading.message.ReadRecord(), 0);
  EXPECT_EQ(reading.message.ReadRecord(), -1);
  EXPECT_EQ(LastError(reading.message), BusError::kEndOfTable);
  Message next(reading.peer.connection);
  next.BeginRead();
  EXPECT_EQ(next.ReadHeader(), 0) << "the next exchange is untouched";
}

TEST(MessageRead, EndsAtTheMarker) {
  Reading reading(FrameBytes(1, Header(1, -1, true)) + kRow + kMarkerFrame);
  ASSERT_EQ(reading.message.ReadHeader(), 0);
  EXPECT_EQ(reading.message.ReadRecord(), 0);
  EXPECT_EQ(reading.message.IsMarker(), 0);
  EXPECT_EQ(reading.message.ReadRecord(), 0);
  EXPECT_NE(reading.message.IsMarker(), 0);
  EXPECT_EQ(reading.message.ReadRecord(), -1);
  EXPECT_EQ(LastError(reading.message), BusError::kEndOfTable);
  EXPECT_EQ(reading.message.IsMarker(), 0);
}

TEST(MessageRead, WantsTheMarkerBehindAllAnnouncedRecords) {
  const std::string header = FrameBytes(1, Header(1, 1, true));
  EXPECT_EQ(ReadingEndsWith(header + kRow + kMarkerFrame), BusError::kEndOfTable);
  EXPECT_EQ(ReadingEndsWith(header + kMarkerFrame), BusError::kUnexpectedFrame);
  EXPECT_EQ(ReadingEndsWith(header + kRow + kRow), BusError::kUnexpectedFrame);
}

TEST(MessageRead, RefusesAMarkerThatWasNotAnnounced) {
  EXPECT_EQ(ReadingEndsWith(kHeaderFrame + kMarkerFrame), BusError::kUnexpectedFrame);
}

TEST(MessageRead, RefusesAMarkerThatCarriesSomething) {
  EXPECT_EQ(ReadingEndsWith(FrameBytes(1, Header(1, -1, true)) + FrameBytes(3, "x")),
            BusError::kMalformedMarker);
}

TEST(MessageRead, RefusesARecordOfAnotherLength) {
  for (const char* payload : {"", "a", "abc"}) {
    EXPECT_EQ(ReadingEndsWith(kHeaderFrame + FrameBytes(2, payload)), BusError::kMalformedRecord);
  }
}

TEST(MessageRead, RefusesAnythingButAHeaderFirst) {
  for (const std::string& frame : {kRow, kMarkerFrame, FrameBytes(4, Big32(0))}) {
    EXPECT_EQ(ReadingEndsWith(frame), BusError::kUnexpectedFrame);
  }
}

TEST(MessageRead, RefusesAHeaderOrAnAnswerInARequest) {
  EXPECT_EQ(ReadingEndsWith(kHeaderFrame + kHeaderFrame), BusError::kUnexpectedFrame);
  EXPECT_EQ(ReadingEndsWith(kHeaderFrame + FrameBytes(4, Big32(0xFFFFFFFD))),
            BusError::kUnexpectedFrame);
}

TEST(MessageRead, SaysWhatIsWrongWithAHeader) {
  Reading reading(FrameBytes(1, Header(1, -7, false)));
  EXPECT_EQ(reading.message.ReadHeader(), -1);
  EXPECT_EQ(LastError(reading.message), BusError::kMalformedHeader);
  EXPECT_EQ(reading.peer.connection.failure().text,
            "a header is malformed: the record count is below -1");
}

TEST(MessageRead, GivesError7WhenTheConnectionEnds) {
  EXPECT_EQ(static_cast<int>(ReadingEndsWith("")), 7);
  EXPECT_EQ(static_cast<int>(ReadingEndsWith(kHeaderFrame)), 7);
  EXPECT_EQ(static_cast<int>(ReadingEndsWith(kHeaderFrame + kRow + "\1")), 7);
}

TEST(MessageRead, GivesError7WhenTheRestOfATableDoesNotCome) {
  RawPeer peer({.wait = kNoLimit, .frame = std::chrono::milliseconds(30)});
  peer.Send(kHeaderFrame);
  Message message(peer.connection);
  message.BeginRead();
  ASSERT_EQ(message.ReadHeader(), 0);
  EXPECT_EQ(message.ReadRecord(), -1);
  EXPECT_EQ(message.LastError(), 7);
  EXPECT_EQ(peer.connection.failure().code, BusError::kTimedOut);
}

TEST(MessageRead, KeepsItsOrder) {
  Reading reading(kHeaderFrame + kRow);
  EXPECT_EQ(reading.message.ReadRecord(), -1);
  EXPECT_EQ(LastError(reading.message), BusError::kWrongOrder);
  ASSERT_EQ(reading.message.ReadHeader(), 0);
  EXPECT_EQ(reading.message.ReadHeader(), -1);
  EXPECT_EQ(LastError(reading.message), BusError::kWrongOrder);
  reading.message.BeginRead();
  EXPECT_EQ(reading.message.ReadHeader(), -1) << "there is no second reading";
  EXPECT_EQ(reading.message.ReadRecord(), 0) << "and the first goes on";
}

TEST(MessageRead, ReadsNothingBeforeBeginRead) {
  RawPeer peer;
  peer.Send(kHeaderFrame);
  Message message(peer.connection);
  EXPECT_EQ(message.ReadHeader(), -1);
  EXPECT_EQ(message.ReadRecord(), -1);
  EXPECT_EQ(LastError(message), BusError::kWrongOrder);
}

TEST(MessageRead, TakesARequestForNoAnswer) {
  Exchange exchange;
  const std::string bytes = RequestBytes();
  ASSERT_EQ(send(exchange.pair.server.fd(), bytes.data(), bytes.size(), 0),
            static_cast<ssize_t>(bytes.size()));
  EXPECT_EQ(exchange.client.ReadHeader(), -1);
  EXPECT_EQ(LastError(exchange.client), BusError::kMalformedHeader);
}

TEST(MessageRead, DoesNotWaitForATableBehindAFailure) {
  Exchange exchange(-3);
  EXPECT_EQ(exchange.client.ReadHeader(), -1);
  EXPECT_EQ(LastError(exchange.client), BusError::kWrongOrder);
}

}  // namespace
}  // namespace packetdb::host
