#include "host/bus/serve.h"

#include <gtest/gtest.h>

#include "host/bus/answer_code.h"
#include "tests/host/bus/support.h"

namespace packetdb::host {
namespace {

// Answers with its command's double.
void RegisterEcho(Dispatcher& dispatcher, int command = kTestCommand) {
  Register(dispatcher, command, [](CAbstractPacketOptions* message) {
    return udbSendCommandAnswer(message, 2 * message->GetInt(0, nullptr));
  });
}

ServeResult Serve(RawPeer& peer) {
  Dispatcher dispatcher;
  RegisterEcho(dispatcher);
  return ServeConnection(peer.connection, dispatcher);
}

// How serving a client ends that sends these bytes and closes.
BusError ServingEndsWith(const std::string& bytes) {
  RawPeer peer;
  peer.SendAndClose(bytes);
  return Serve(peer).end.code;
}

// A request whose header has these fields and one column.
std::string Request(int kind, int count, bool marker, unsigned int id, unsigned int size) {
  return FrameBytes(1, Big32(static_cast<unsigned int>(kind)) +
                           Big32(static_cast<unsigned int>(count)) +
                           std::string{static_cast<char>(marker), '\1'} + Big32(id) + Big32(size)) +
         FrameBytes(2, std::string(size, '\1'));
}

TEST(Serve, AnswersOneRequestAfterTheOtherUntilTheClientCloses) {
  Pair pair;
  Dispatcher dispatcher;
  RegisterEcho(dispatcher, 3);
  RegisterEcho(dispatcher, 4);
  ServerThread server(pair.server, dispatcher);
  for (int command : {3, 4, 3}) {
    Message message(pair.client);
    WriteRequest(message, command);
    EXPECT_EQ(udbGetCommandAnswer(&message), 2 * command);
  }
  shutdown(pair.client.fd(), SHUT_RDWR);
  const ServeResult result = server.Join();
  EXPECT_EQ(result.end.code, BusError::kPeerClosed);
  EXPECT_EQ(result.commands, 3u);
}

TEST(Serve, AnswersRequestsThatArriveTogether) {
  RawPeer peer;
  peer.Send(RequestBytes() + RequestBytes());
  shutdown(peer.raw.get(), SHUT_WR);
  EXPECT_EQ(Serve(peer).commands, 2u);
  EXPECT_EQ(peer.Receive(), FrameBytes(4, Big32(200)) + FrameBytes(4, Big32(200)));
}

TEST(Serve, GoesOnAfterAnUnknownCommand) {
  RawPeer peer;
  peer.Send(RequestBytes(5) + RequestBytes());
  shutdown(peer.raw.get(), SHUT_WR);
  EXPECT_EQ(Serve(peer).commands, 2u);
  EXPECT_EQ(peer.Receive(), FrameBytes(4, Big32(static_cast<unsigned int>(kAnswerUnknownCommand))) +
                                FrameBytes(4, Big32(200)));
}

TEST(Serve, TellsTheObserverOfEveryCommand) {
  RawPeer peer;
  peer.Send(RequestBytes(5) + RequestBytes());
  shutdown(peer.raw.get(), SHUT_WR);
  Dispatcher dispatcher;
  RegisterEcho(dispatcher);
  std::vector<std::pair<int, CommandOutcome>> seen;
  ServeConnection(peer.connection, dispatcher, [&](const CommandReport& report) {
    seen.emplace_back(report.command, report.outcome);
  });
  EXPECT_EQ(seen, (std::vector<std::pair<int, CommandOutcome>>{{5, CommandOutcome::kUnknownCommand},
                                                               {100, CommandOutcome::kServed}}));
}

TEST(Serve, RefusesWhatIsNoRequestWithoutAReply) {
  for (const std::string& bytes :
       {Request(0, 1, false, kIntegerBit, 4), Request(1, 2, false, kIntegerBit, 4),
        Request(1, 0, false, kIntegerBit, 4), Request(1, 1, true, kIntegerBit, 4),
        Request(1, -1, true, kIntegerBit, 4)}) {
    RawPeer peer;
    peer.Send(bytes);
    const ServeResult result = Serve(peer);
    EXPECT_EQ(result.end.code, BusError::kNotARequest);
    EXPECT_EQ(result.commands, 0u);
    EXPECT_EQ(peer.Receive(), "");
  }
}

TEST(Serve, RefusesARequestWithoutACommand) {
  for (const std::string& bytes :
       {Request(1, 1, false, kIntegerBit | 1, 4), Request(1, 1, false, 0, 4),
        Request(1, 1, false, kIntegerBit, 8), Request(1, 1, false, kIntegerBit, 2)}) {
    EXPECT_EQ(ServingEndsWith(bytes), BusError::kNoCommand);
  }
}

TEST(Serve, EndsWithTheReasonThatTheFramingGives) {
  EXPECT_EQ(ServingEndsWith(""), BusError::kPeerClosed);
  EXPECT_EQ(ServingEndsWith(RequestBytes()), BusError::kClosedMidway) << "the answer was unwanted";
  EXPECT_EQ(ServingEndsWith(Big32(0)), BusError::kBadFrameLength);
  EXPECT_EQ(ServingEndsWith(Big32(0xFFFFFFFF)), BusError::kBadFrameLength);
  EXPECT_EQ(ServingEndsWith(FrameBytes(1, "")), BusError::kMalformedHeader);
  EXPECT_EQ(ServingEndsWith("GET / HTTP/1.1\r\n\r\n"), BusError::kBadFrameLength);
}

TEST(Serve, EndsWithTheReasonThatAHeaderOf10000ColumnsGives) {
  std::string payload = Big32(1) + Big32(1) + std::string{'\0', '\xFF'};
  for (unsigned int id = 0; id < 10000; ++id) payload += Big32(id) + Big32(1);
  RawPeer peer;
  peer.SendAndClose(FrameBytes(1, payload));
  const ServeResult result = Serve(peer);
  EXPECT_EQ(result.end.code, BusError::kMalformedHeader);
  EXPECT_EQ(result.end.text, "a header is malformed: there are more than 64 columns");
}

TEST(Serve, EndsWhenASlowSenderHasHadItsTime) {
  RawPeer peer({.wait = kNoLimit, .frame = std::chrono::milliseconds(50)});
  peer.Send(RequestBytes().substr(0, 20));
  EXPECT_EQ(Serve(peer).end.code, BusError::kTimedOut);
}

TEST(Serve, EndsWhenTheRecordOfARequestDoesNotCome) {
  RawPeer peer({.wait = kNoLimit, .frame = std::chrono::milliseconds(50)});
  const std::string request = RequestBytes();
  peer.Send(request.substr(0, request.size() - 10));
  EXPECT_EQ(Serve(peer).end.code, BusError::kTimedOut);
}

TEST(Serve, EndsWhenNoRequestComes) {
  RawPeer peer(ShortTimeouts());
  EXPECT_EQ(Serve(peer).end.code, BusError::kTimedOut);
}

// Answers a table of rows without end, as far as the connection takes them.
void RegisterEndless(Dispatcher& dispatcher, int* last_error) {
  Register(dispatcher, kTestCommand, [last_error](CAbstractPacketOptions* message) {
    udbSendCommandAnswer(message, 0);
    message->SetKind(0);
    message->AddColumn(1, 50);
    message->SetRecordCount(-1);
    message->SetMarkerFlag(1);
    message->WriteHeader();
    const std::string value(50, 'v');
    do {
      message->SetValue(1, value.data());
    } while (message->WriteRecord() == 0);
    *last_error = message->LastError();
    udbSendCommandAnswer(message, -3);
    return -1;
  });
}

TEST(Serve, EndsQuietlyWhenTheClientVanishesInMidAnswer) {
  Pair pair;
  Dispatcher dispatcher;
  int last_error = 0;
  RegisterEndless(dispatcher, &last_error);
  ServerThread server(pair.server, dispatcher);
  Message message(pair.client);
  WriteRequest(message);
  ASSERT_EQ(udbGetCommandAnswer(&message), 0);
  message.BeginRead();
  ASSERT_EQ(message.ReadHeader(), 0);
  for (int i = 0; i < 5000; ++i) ASSERT_EQ(message.ReadRecord(), 0);
  shutdown(pair.client.fd(), SHUT_RDWR);
  EXPECT_EQ(server.Join().end.code, BusError::kClosedMidway);
  EXPECT_EQ(last_error, 8);
}

TEST(Serve, EndsWhenTheClientStopsReading) {
  RawPeer peer({.send = std::chrono::milliseconds(50)});
  peer.Send(RequestBytes());
  Dispatcher dispatcher;
  int last_error = 0;
  RegisterEndless(dispatcher, &last_error);
  EXPECT_EQ(ServeConnection(peer.connection, dispatcher).end.code, BusError::kTimedOut);
  EXPECT_EQ(last_error, 8);
}

// A request with so many columns, the command among them.
std::string WideRequest(unsigned int columns) {
  std::string header = Big32(1) + Big32(1) + std::string{'\0', static_cast<char>(columns)};
  for (unsigned int id = 0; id < columns; ++id) {
    header += Big32(0x80000000U | id) + Big32(4);
  }
  return FrameBytes(1, header) + FrameBytes(2, std::string(columns * 4, '\1'));
}

TEST(Serve, EndsAtARequestOfMoreColumnsThanItTakes) {
  const auto serving_ends_with = [](unsigned int columns) {
    RawPeer peer;
    peer.SendAndClose(WideRequest(columns));
    Dispatcher dispatcher;
    return ServeConnection(peer.connection, dispatcher, {}, {.columns = 3}).end;
  };
  EXPECT_EQ(serving_ends_with(3).code, BusError::kClosedMidway) << "nobody waits for the answer";
  EXPECT_EQ(serving_ends_with(4).code, BusError::kRequestTooLarge);
  EXPECT_EQ(serving_ends_with(4).text,
            "a request has more bytes or columns than the server takes: 4 columns");
}

}  // namespace
}  // namespace packetdb::host
