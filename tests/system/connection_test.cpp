// What becomes of connections besides their queries.
#include <csignal>
#include <gmock/gmock.h>

#include "host/bus/answer_code.h"
#include "host/bus/message.h"
#include "tests/system/support/ask.h"
#include "tests/system/support/daemon.h"
#include "tests/system/support/eventually.h"
#include "tests/system/support/raw_client.h"
#include "tests/system/support/records.h"

namespace packetdb::host::test {
namespace {

using testing::SizeIs;

class ConnectionTest : public testing::Test {
 protected:
  void Serve(const Program::Arguments& options = {}) {
    Journal(journals_.path(), "edge", {EventAt(0)});
    daemon_.emplace(journals_.path(), options);
  }

  TemporaryDirectory journals_;
  std::optional<Daemon> daemon_;
};

int AskCommand(Connection& connection, int command) {
  Message message(connection);
  message.SetKind(kKindRequest);
  message.AddColumn(kIntegerBit, sizeof command);
  message.SetRecordCount(1);
  message.WriteHeader();
  message.SetValue(0, &command);
  message.WriteRecord();
  return message.GetCommandAnswer();
}

TEST_F(ConnectionTest, UnknownCommandGetsItsOwnAnswer) {
  Serve();
  const auto connection = Connect(daemon_->socket());
  EXPECT_EQ(AskCommand(*connection, 999), kAnswerUnknownCommand);
  EXPECT_TRUE(daemon_->LogSays("command 999: unknown command"));
  EXPECT_THAT(Ask(*connection, QueryOf("edge")).rows, SizeIs(1)) << "on the same connection";
}

TEST_F(ConnectionTest, QueryOfAnOldClientGetsItsOwnAnswer) {
  constexpr int kOldProtocol = -100;
  Serve();
  const auto connection = Connect(daemon_->socket());
  Query query = QueryOf("edge");
  query.m_Version = 0;
  EXPECT_EQ(Ask(*connection, query).status, kOldProtocol);
  EXPECT_TRUE(daemon_->LogSays("client uses old protocol"));
  EXPECT_THAT(Ask(*connection, QueryOf("edge")).rows, SizeIs(1)) << "on the same connection";
}

TEST_F(ConnectionTest, ManyQueriesShareOneConnection) {
  Serve();
  const auto connection = Connect(daemon_->socket());
  for (int i = 0; i < 100; ++i) {
    ASSERT_THAT(Ask(*connection, QueryOf("edge")).rows, SizeIs(1));
  }
  EXPECT_THAT(daemon_->Children(), SizeIs(1));
}

TEST_F(ConnectionTest, KilledChildIsReportedAndOthersAreServed) {
  Serve();
  const auto idle = Connect(daemon_->socket());
  ASSERT_TRUE(Eventually([this] { return daemon_->Children().size() == 1; }));
  const pid_t child = daemon_->Children().front();
  kill(child, SIGKILL);
  EXPECT_TRUE(daemon_->LogSays("process " + std::to_string(child) + " of a connection died"));
  EXPECT_THAT(Ask(daemon_->socket(), QueryOf("edge")).rows, SizeIs(1));
  EXPECT_EQ(Ask(*idle, QueryOf("edge")).status, kAnswerWriteFailed);
}

TEST_F(ConnectionTest, EndedConnectionsLeaveNoProcessBehind) {
  Serve();
  for (int i = 0; i < 10; ++i) {
    Ask(daemon_->socket(), QueryOf("edge"));
  }
  EXPECT_TRUE(daemon_->BecomesIdle());
}

// How long nobody is served cannot be tested; that nobody is, while the other two are, can.
TEST_F(ConnectionTest, ConnectionsBeyondTheLimitWaitAndAreServedLater) {
  constexpr int kAWhile = 300;  // milliseconds
  Serve({"--max-connections", "2"});
  RawClient first(daemon_->socket());
  const RawClient second(daemon_->socket());
  ASSERT_TRUE(Eventually([this] { return daemon_->Children().size() == 2; }));
  const RawClient third(daemon_->socket());
  third.Send(RequestOf(QueryOf("edge")));
  EXPECT_FALSE(third.HasInput(kAWhile));
  EXPECT_THAT(daemon_->Children(), SizeIs(2));
  first.Vanish();
  EXPECT_EQ(third.Receive(10), FrameBytes(FrameType::kAnswer, Big32(0)));
}

TEST_F(ConnectionTest, OpenConnectionsEndWithTheDaemon) {
  Serve();
  const RawClient client(daemon_->socket());
  ASSERT_TRUE(Eventually([this] { return daemon_->Children().size() == 1; }));
  EXPECT_EQ(daemon_->Stop(SIGTERM).status, 0);
  client.AwaitClose();
}

}  // namespace
}  // namespace packetdb::host::test
