// Feeds the server every truncation and every change of a single byte of a request like a journal
// client's. Whatever it makes of them, it ends with a reason, and sends nothing but answers.
#include <cstring>
#include <gtest/gtest.h>

#include "host/bus/byte_order.h"
#include "tests/host/bus/journal_like.h"
#include "tests/host/bus/support.h"

namespace packetdb::host {
namespace {

std::string SampleRequest() {
  RawPeer peer;
  Message message(peer.connection);
  JournalQuery query;
  query.record_limit = 2;
  query.codes = {-1, 5};
  WriteJournalQuery(message, query);
  peer.connection.Flush();
  return peer.Receive();
}

// Serves a client that sends these bytes and nothing more, but still listens.
ServeResult Serve(const std::string& bytes, std::string* reply) {
  RawPeer peer;
  peer.Send(bytes);
  shutdown(peer.raw.get(), SHUT_WR);
  Dispatcher dispatcher;
  RegisterJournal(dispatcher, SampleRows(2));
  ServeResult result = ServeConnection(peer.connection, dispatcher);
  *reply = peer.Receive();
  return result;
}

bool IsWholeFrames(const std::string& bytes) {
  std::size_t at = 0;
  while (at + kPayloadOffset <= bytes.size()) {
    at += kLengthSize + LoadNetwork32(reinterpret_cast<const unsigned char*>(bytes.data()) + at);
  }
  return at == bytes.size();
}

TEST(ServeMutation, TheRequestItselfIsServed) {
  std::string reply;
  const ServeResult result = Serve(SampleRequest(), &reply);
  EXPECT_EQ(result.end.code, BusError::kPeerClosed);
  EXPECT_EQ(result.commands, 1u);
  EXPECT_EQ(reply.substr(0, 10), FrameBytes(4, Big32(0)));
}

TEST(ServeMutation, EveryTruncationEndsInTheMiddleOfTheExchange) {
  const std::string request = SampleRequest();
  for (std::size_t length = 1; length < request.size(); ++length) {
    std::string reply;
    const ServeResult result = Serve(request.substr(0, length), &reply);
    ASSERT_EQ(result.end.code, BusError::kClosedMidway) << length;
    ASSERT_EQ(result.commands, 0u) << length;
    ASSERT_EQ(reply, "") << length;
  }
}

TEST(ServeMutation, EveryChangedByteEndsWithAReason) {
  const std::string request = SampleRequest();
  for (std::size_t at = 0; at < request.size(); ++at) {
    for (int change = 1; change < 256; ++change) {
      std::string mutated = request;
      mutated[at] = static_cast<char>(mutated[at] ^ change);
      std::string reply;
      const ServeResult result = Serve(mutated, &reply);
      ASSERT_NE(result.end.code, BusError::kNone) << at << " ^ " << change;
      ASSERT_FALSE(result.end.text.empty());
      ASSERT_NE(result.end.code, BusError::kTimedOut) << at << " ^ " << change;
      ASSERT_EQ(reply.empty(), result.commands == 0) << at << " ^ " << change;
      ASSERT_TRUE(IsWholeFrames(reply)) << at << " ^ " << change;
    }
  }
}

}  // namespace
}  // namespace packetdb::host
