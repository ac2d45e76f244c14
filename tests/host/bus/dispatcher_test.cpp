#include "host/bus/dispatcher.h"

#include <gtest/gtest.h>
#include <stdexcept>

#include "host/bus/answer_code.h"
#include "tests/host/bus/support.h"

namespace packetdb::host {
namespace {

// A request that has reached the server's end of a connection.
class Dispatching : public ::testing::Test {
 protected:
  void SetUp() override {
    WriteRequest(client_);
    pair_.client.Flush();
    ReadRequest(server_);
  }

  CommandReport Dispatch(int command = kTestCommand) {
    const CommandReport report = dispatcher_.Dispatch(command, server_);
    pair_.server.Flush();
    return report;
  }

  void Handle(FunctionHandler::Function function) {
    Register(dispatcher_, kTestCommand, std::move(function));
  }

  int ClientAnswer() { return udbGetCommandAnswer(&client_); }

  // What the client gets instead of the table that a success promised it.
  BusError ClientTableError() {
    client_.BeginRead();
    if (client_.ReadHeader() < 0) return LastError(client_);
    while (client_.ReadRecord() == 0) {
    }
    return LastError(client_);
  }

  Pair pair_;
  Message client_{pair_.client};
  Message server_{pair_.server};
  Dispatcher dispatcher_;
};

void DeclareTable(CAbstractPacketOptions* message) {
  message->SetKind(0);
  message->AddColumn(1, 1);
  message->SetRecordCount(-1);
  message->SetMarkerFlag(1);
  message->WriteHeader();
}

TEST_F(Dispatching, CallsTheHandlerOfTheCommandWithTheMessage) {
  CAbstractPacketOptions* seen = nullptr;
  Register(dispatcher_, 99, [](CAbstractPacketOptions*) { return -1; });
  Handle([&](CAbstractPacketOptions* message) {
    seen = message;
    return udbSendCommandAnswer(message, 12);
  });
  const CommandReport report = Dispatch();
  EXPECT_EQ(seen, &server_);
  EXPECT_EQ(report.command, kTestCommand);
  EXPECT_EQ(report.outcome, CommandOutcome::kServed);
  EXPECT_EQ(report.answer, 12);
  EXPECT_EQ(ClientAnswer(), 12);
}

TEST_F(Dispatching, AnswersACommandThatNobodyRegistered) {
  Handle([](CAbstractPacketOptions*) { return 0; });
  EXPECT_EQ(Dispatch(101).outcome, CommandOutcome::kUnknownCommand);
  EXPECT_EQ(ClientAnswer(), kAnswerUnknownCommand);
}

TEST_F(Dispatching, TakesAnEntryWithoutAHandlerForNone) {
  dispatcher_.commands().emplace_back(boost::shared_ptr<UdbDispatcher::IUdbCallback>(),
                                      kTestCommand);
  EXPECT_EQ(Dispatch().outcome, CommandOutcome::kUnknownCommand);
}

TEST_F(Dispatching, AnswersACommandThatIsDisabled) {
  Handle([](CAbstractPacketOptions*) { return 0; });
  dispatcher_.commands()[0].m_callback->disable();
  EXPECT_EQ(Dispatch().outcome, CommandOutcome::kDisabled);
  EXPECT_EQ(ClientAnswer(), kAnswerCommandDisabled);
}

TEST_F(Dispatching, CallsTheFirstEnabledOfSeveralHandlers) {
  for (int code : {1, 2, 3}) {
    Handle([code](CAbstractPacketOptions* message) { return udbSendCommandAnswer(message, code); });
  }
  dispatcher_.commands()[0].m_callback->disable();
  Dispatch();
  EXPECT_EQ(ClientAnswer(), 2);
}

TEST_F(Dispatching, AnswersForAHandlerThatFailedWithoutAnAnswer) {
  Handle([](CAbstractPacketOptions*) { return -1; });
  const CommandReport report = Dispatch();
  EXPECT_EQ(report.outcome, CommandOutcome::kHandlerFailed);
  EXPECT_EQ(report.answer, kAnswerNothingOrFailed);
  EXPECT_EQ(ClientAnswer(), kAnswerNothingOrFailed);
}

TEST_F(Dispatching, LeavesTheAnswerOfAHandlerThatFailedAlone) {
  Handle([](CAbstractPacketOptions* message) {
    udbSendCommandAnswer(message, -100);
    return -1;
  });
  EXPECT_EQ(Dispatch().outcome, CommandOutcome::kHandlerFailed);
  EXPECT_EQ(ClientAnswer(), -100);
}

TEST_F(Dispatching, AnswersForAHandlerThatThrows) {
  Handle([](CAbstractPacketOptions*) -> int { throw std::bad_alloc(); });
  EXPECT_EQ(Dispatch().outcome, CommandOutcome::kHandlerThrew);
  EXPECT_EQ(ClientAnswer(), kAnswerNothingOrFailed);
}

TEST_F(Dispatching, AnswersForAHandlerThatThrowsWhatIsNoException) {
  Handle([](CAbstractPacketOptions*) -> int { throw 5; });
  EXPECT_EQ(Dispatch().outcome, CommandOutcome::kHandlerThrew);
  EXPECT_EQ(ClientAnswer(), kAnswerNothingOrFailed);
}

TEST_F(Dispatching, AnswersForAHandlerThatForgotTo) {
  Handle([](CAbstractPacketOptions*) { return 0; });
  EXPECT_EQ(Dispatch().outcome, CommandOutcome::kNotAnswered);
  EXPECT_EQ(ClientAnswer(), kAnswerNothingOrFailed);
}

TEST_F(Dispatching, TakesASuccessWithoutATableBackWhenTheHandlerThrows) {
  Handle([](CAbstractPacketOptions* message) -> int {
    udbSendCommandAnswer(message, 0);
    throw std::runtime_error("no memory");
  });
  Dispatch();
  EXPECT_EQ(ClientAnswer(), 0);
  EXPECT_EQ(ClientTableError(), BusError::kTableAborted);
}

TEST_F(Dispatching, AbortsATableThatTheHandlerLeavesUnfinished) {
  Handle([](CAbstractPacketOptions* message) {
    udbSendCommandAnswer(message, 0);
    DeclareTable(message);
    return 0;
  });
  EXPECT_EQ(Dispatch().outcome, CommandOutcome::kTableUnfinished);
  EXPECT_EQ(ClientAnswer(), 0);
  EXPECT_EQ(ClientTableError(), BusError::kTableAborted);
}

TEST_F(Dispatching, AddsNothingToATableThatIsComplete) {
  Handle([](CAbstractPacketOptions* message) {
    udbSendCommandAnswer(message, 0);
    DeclareTable(message);
    message->WriteMarker();
    return -1;
  });
  EXPECT_EQ(Dispatch().outcome, CommandOutcome::kHandlerFailed);
  EXPECT_EQ(ClientAnswer(), 0);
  EXPECT_EQ(ClientTableError(), BusError::kEndOfTable);
  pair_.server.Fail(BusError::kSystem);
}

TEST_F(Dispatching, ReportsThatTheClientIsGone) {
  RawPeer peer;
  peer.SendAndClose(RequestBytes());
  Message message(peer.connection);
  ReadRequest(message);
  Handle([](CAbstractPacketOptions* each) { return udbSendCommandAnswer(each, 0); });
  const CommandReport report = dispatcher_.Dispatch(kTestCommand, message);
  EXPECT_EQ(report.outcome, CommandOutcome::kHandlerFailed);
  EXPECT_FALSE(report.answer);
  EXPECT_EQ(report.last_error, 8);
}

TEST(CommandOutcome, HasATextForEach) {
  std::set<std::string_view> texts;
  for (int i = 0; i <= static_cast<int>(CommandOutcome::kTableUnfinished); ++i) {
    EXPECT_TRUE(texts.insert(OutcomeText(static_cast<CommandOutcome>(i))).second) << i;
  }
  EXPECT_EQ(texts.count("unknown outcome"), 0u);
}

}  // namespace
}  // namespace packetdb::host
