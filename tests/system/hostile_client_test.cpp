// What clients may do to the daemon, and what it does about them.
#include <csignal>
#include <gmock/gmock.h>
#include <list>
#include <ostream>
#include <random>
#include <unistd.h>

#include "host/bus/error.h"
#include "tests/system/support/ask.h"
#include "tests/system/support/daemon.h"
#include "tests/system/support/raw_client.h"
#include "tests/system/support/records.h"

namespace packetdb::host::test {
namespace {

// Their answer does not fit what a socket takes in advance.
constexpr std::size_t kManyEvents = 20000;

class HostileClientTest : public testing::Test {
 protected:
  void Serve(std::size_t events = 3, const Program::Arguments& options = {}) {
    expected_ = events;
    std::vector<SeenEvent> seen;
    for (std::uint32_t i = 0; i < events; ++i) {
      seen.push_back(EventAt(i));
    }
    Journal(journals_.path(), "edge", seen);
    daemon_.emplace(journals_.path(), options);
  }
  void ExpectHonestAnswer() {
    const Answer answer = Ask(daemon_->socket(), QueryOf("edge"));
    EXPECT_EQ(answer.status, 0);
    EXPECT_EQ(answer.rows.size(), expected_);
    EXPECT_EQ(daemon_->CountInLog(" died: "), 0u) << daemon_->Log();
  }

  TemporaryDirectory journals_;
  std::size_t expected_ = 0;
  std::optional<Daemon> daemon_;
};

struct Malformed {
  const char* name;
  std::string bytes;
  BusError reason;
};

void PrintTo(const Malformed& row, std::ostream* out) { *out << row.name; }

std::vector<Malformed> AllMalformed() {
  const std::string header = FrameBytes(FrameType::kHeader, HeaderPayload(1, std::string(1, '\0')));
  const std::string request = RequestOf(QueryOf("edge"));
  return {
      {"OtherProtocol", "GET / HTTP/1.0\r\n\r\n", BusError::kBadFrameLength},
      {"LengthZero", Big32(0), BusError::kBadFrameLength},
      {"LengthBeyondBound", Big32(kMaxFrameLength + 1), BusError::kBadFrameLength},
      {"LengthHuge", std::string(100, '\xFF'), BusError::kBadFrameLength},
      {"OtherVersion", Big32(2) + "\x02\x01", BusError::kBadVersion},
      {"UnknownType", FrameBytes(FrameType{9}, "x"), BusError::kBadFrameType},
      {"RecordFirst", FrameBytes(FrameType::kRecord, "x"), BusError::kUnexpectedFrame},
      {"ShortHeader", FrameBytes(FrameType::kHeader, "abc"), BusError::kMalformedHeader},
      {"AnswerKind", FrameBytes(FrameType::kHeader, HeaderPayload(0, "\x01")),
       BusError::kNotARequest},
      {"NoCommand", FrameBytes(FrameType::kHeader, HeaderPayload(1, "\x05")), BusError::kNoCommand},
      {"ShortRecord", header + FrameBytes(FrameType::kRecord, "abc"), BusError::kMalformedRecord},
      {"LongRecord", header + FrameBytes(FrameType::kRecord, "abcde"), BusError::kMalformedRecord},
      {"HeaderTwice", header + header, BusError::kUnexpectedFrame},
      {"EndsInLength", request.substr(0, 3), BusError::kClosedMidway},
      {"EndsInFrame", request.substr(0, request.size() / 2), BusError::kClosedMidway},
      {"EndsBeforeLastByte", request.substr(0, request.size() - 1), BusError::kClosedMidway},
  };
}

class MalformedRequestTest : public HostileClientTest,
                             public testing::WithParamInterface<Malformed> {};

TEST_P(MalformedRequestTest, EndsTheConnectionForALoggedReason) {
  Serve();
  const RawClient client(daemon_->socket());
  client.Send(GetParam().bytes);
  client.FinishSending();
  client.AwaitClose();
  EXPECT_TRUE(daemon_->LogSays("client (pid " + std::to_string(getpid())));
  EXPECT_TRUE(daemon_->LogSays(std::string(ErrorText(GetParam().reason)))) << daemon_->Log();
  ExpectHonestAnswer();
}

INSTANTIATE_TEST_SUITE_P(Requests, MalformedRequestTest, testing::ValuesIn(AllMalformed()),
                         [](const auto& row) { return row.param.name; });

TEST_F(HostileClientTest, MutatedRequestsNeverStopTheDaemon) {
  const unsigned int seed = std::random_device{}();
  SCOPED_TRACE(seed);
  std::mt19937 random(seed);
  Serve();
  const std::string request = RequestOf(QueryOf("edge"));
  for (int i = 0; i < 50; ++i) {
    std::string mutated = request;
    for (int changes = 1 + i % 3; changes > 0; --changes) {
      mutated[random() % mutated.size()] = static_cast<char>(random());
    }
    const RawClient client(daemon_->socket());
    client.Send(mutated);
    client.FinishSending();
    client.AwaitClose();
  }
  EXPECT_TRUE(daemon_->BecomesIdle());
  ExpectHonestAnswer();
}

TEST_F(HostileClientTest, RequestInSingleBytesIsAnswered) {
  Serve();
  const RawClient client(daemon_->socket());
  for (const char byte : RequestOf(QueryOf("edge"))) {
    client.Send(std::string(1, byte));
  }
  EXPECT_EQ(client.Receive(10), FrameBytes(FrameType::kAnswer, Big32(0)));
}

TEST_F(HostileClientTest, GarbageInSingleBytesIsNotWaitedFor) {
  Serve();
  const RawClient client(daemon_->socket());
  for (const char byte : std::string(4, '\xFF')) {
    client.Send(std::string(1, byte));
  }
  client.AwaitClose();
  ExpectHonestAnswer();
}

TEST_F(HostileClientTest, SilentClientIsSentAway) {
  Serve(3, {"--idle-timeout", "1"});
  const RawClient client(daemon_->socket());
  client.AwaitClose();
  EXPECT_TRUE(daemon_->LogSays(std::string(ErrorText(BusError::kTimedOut))));
  ExpectHonestAnswer();
}

TEST_F(HostileClientTest, ClientThatVanishesInMidRequestLeavesTheDaemonServing) {
  Serve();
  RawClient client(daemon_->socket());
  const std::string request = RequestOf(QueryOf("edge"));
  client.Send(request.substr(0, request.size() - 5));
  client.Vanish();
  EXPECT_TRUE(daemon_->LogSays(std::string(ErrorText(BusError::kClosedMidway))));
  ExpectHonestAnswer();
}

TEST_F(HostileClientTest, ClientThatVanishesInMidAnswerLeavesTheDaemonServing) {
  Serve(kManyEvents);
  RawClient client(daemon_->socket());
  client.Send(RequestOf(QueryOf("edge")));
  EXPECT_EQ(client.Receive(1000).size(), 1000u);
  client.Vanish();
  EXPECT_TRUE(daemon_->LogSays(std::string(ErrorText(BusError::kClosedMidway))));
  ExpectHonestAnswer();
}

TEST_F(HostileClientTest, ClientThatTakesNoAnswerDelaysNobody) {
  Serve(kManyEvents);
  const RawClient client(daemon_->socket());
  client.Send(RequestOf(QueryOf("edge")));
  ExpectHonestAnswer();
  EXPECT_EQ(daemon_->Children().size(), 1u) << "the other was sent away before";
}

TEST_F(HostileClientTest, TwentyHostileClientsDelayNobody) {
  Serve(kManyEvents);
  const std::string request = RequestOf(QueryOf("edge"));
  const std::vector<std::string> habits = {"", request.substr(0, 7), std::string(50, '\xFF'),
                                           request};
  std::list<RawClient> clients;
  for (std::size_t i = 0; i < 20; ++i) {
    clients.emplace_back(daemon_->socket()).Send(habits[i % habits.size()]);
  }
  ExpectHonestAnswer();
  EXPECT_GE(daemon_->Children().size(), 15u) << "those that send no garbage were sent away before";
}

}  // namespace
}  // namespace packetdb::host::test
