// What one client may cost, and who may be one.
#include <array>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <functional>
#include <gmock/gmock.h>
#include <list>
#include <pwd.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <thread>
#include <unistd.h>

#include "host/bus/answer_code.h"
#include "host/bus/columns.h"
#include "host/bus/error.h"
#include "host/reading/query_exchange.h"
#include "tests/system/support/ask.h"
#include "tests/system/support/daemon.h"
#include "tests/system/support/eventually.h"
#include "tests/system/support/process_facts.h"
#include "tests/system/support/raw_client.h"
#include "tests/system/support/records.h"
#include "tests/system/support/sanitizer.h"

namespace packetdb::host::test {
namespace {

using testing::HasSubstr;
using testing::SizeIs;

class LimitsTest : public testing::Test {
 protected:
  void Serve(const std::string& limits, std::uint32_t events = 3) {
    std::vector<SeenEvent> seen;
    for (std::uint32_t i = 0; i < events; ++i) {
      seen.push_back(EventAt(i));
    }
    Journal(journals_.path(), "edge", seen);
    const std::string config = place_.File("packetdb.toml", limits);
    daemon_.emplace(journals_.path(), Program::Arguments{}, config);
  }
  bool AnswersHonestly() { return Ask(daemon_->socket(), QueryOf("edge")).status == 0; }
  // Whether the daemon closes a connection on which this was sent, and says why.
  void ExpectClosed(const std::string& bytes, BusError reason) {
    const RawClient client(daemon_->socket());
    client.Send(bytes);
    client.AwaitClose();
    EXPECT_TRUE(daemon_->LogSays(std::string(ErrorText(reason)))) << daemon_->Log();
    EXPECT_TRUE(AnswersHonestly());
  }

  TemporaryDirectory journals_;
  TemporaryDirectory place_;
  std::optional<Daemon> daemon_;
};

TEST_F(LimitsTest, RequestOfMoreBytesThanAllowedEndsTheConnection) {
  Serve("[limits]\nmessage_size = '64KiB'\n");
  const std::string columns = Big32(kIntegerBit) + Big32(4) + Big32(1) + Big32(65536);
  const std::string header =
      FrameBytes(FrameType::kHeader, Big32(1) + Big32(1) + std::string("\0\2", 2) + columns);
  ExpectClosed(header + FrameBytes(FrameType::kRecord, std::string(65540, 'x')),
               BusError::kRequestTooLarge);
}

TEST_F(LimitsTest, RequestOfMoreColumnsThanAllowedEndsTheConnection) {
  Serve("[limits]\ncolumns = 31\n");
  std::string columns(32, '\0');
  for (std::size_t i = 0; i < columns.size(); ++i) {
    columns[i] = static_cast<char>(i);
  }
  ExpectClosed(FrameBytes(FrameType::kHeader, HeaderPayload(1, columns)),
               BusError::kRequestTooLarge);
}

TEST_F(LimitsTest, RequestThatTakesTooLongEndsTheConnectionHoweverSteadyItComes) {
  Serve("[limits]\nmessage_time = '1s'\n");
  const RawClient client(daemon_->socket());
  const std::string request = RequestOf(QueryOf("edge"));
  const auto ended = [&] { return client.HasInput(50); };
  for (std::size_t sent = 0; sent < request.size() - 1 && !ended(); ++sent) {
    client.Send(request.substr(sent, 1));
  }
  client.AwaitClose();
  EXPECT_TRUE(daemon_->LogSays(std::string(ErrorText(BusError::kTimedOut))));
}

TEST_F(LimitsTest, ClientThatTakesNothingOfItsAnswerIsSentAway) {
  Serve("[limits]\nstalled_time = '1s'\n", 20000);
  const RawClient client(daemon_->socket());
  client.Send(RequestOf(QueryOf("edge")));
  EXPECT_TRUE(daemon_->LogSays(std::string(ErrorText(BusError::kTimedOut)))) << daemon_->Log();
  EXPECT_TRUE(daemon_->BecomesIdle());
}

// One byte with a descriptor attached.
void SendDescriptor(int socket, int descriptor) {
  char byte = 0;
  iovec part{&byte, 1};
  alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof descriptor)> control{};
  msghdr message{};
  message.msg_iov = &part;
  message.msg_iovlen = 1;
  message.msg_control = control.data();
  message.msg_controllen = control.size();
  cmsghdr* header = CMSG_FIRSTHDR(&message);
  header->cmsg_level = SOL_SOCKET;
  header->cmsg_type = SCM_RIGHTS;
  header->cmsg_len = CMSG_LEN(sizeof descriptor);
  std::memcpy(CMSG_DATA(header), &descriptor, sizeof descriptor);
  ASSERT_EQ(sendmsg(socket, &message, 0), 1);
}

TEST_F(LimitsTest, DescriptorsThatAreSentAlongEndTheConnection) {
  Serve("");
  const auto client = Connect(daemon_->socket());
  SendDescriptor(client->fd(), STDERR_FILENO);
  EXPECT_TRUE(daemon_->LogSays(std::string(ErrorText(BusError::kDescriptorsSent))));
  EXPECT_TRUE(AnswersHonestly());
}

TEST_F(LimitsTest, ThousandConnectsAndHalfOpenOnesLeaveItServing) {
  Serve("[limits]\nconnections = 8\nconnections_per_user = 4096\n");
  {
    std::list<RawClient> half_open;
    for (int i = 0; i < 40; ++i) {
      half_open.emplace_back(daemon_->socket()).Send("\1");
    }
    ASSERT_TRUE(Eventually([&] { return daemon_->Children().size() == 8; }));
  }
  for (int i = 0; i < 1000; ++i) {
    RawClient(daemon_->socket()).Vanish();
  }
  EXPECT_TRUE(AnswersHonestly());
  EXPECT_TRUE(daemon_->BecomesIdle());
}

TEST_F(LimitsTest, ConnectionThatNoDescriptorIsLeftForIsClosed) {
  Serve("");
  const pid_t queries = ChildNamed(daemon_->program().pid(), "packetdb-query");
  rlimit before{};
  ASSERT_EQ(prlimit(queries, RLIMIT_NOFILE, nullptr, &before), 0);
  bool closed = false;
  // Which number its last descriptor has is not to be seen from here.
  for (rlim_t limit = 40; limit > 3 && !closed; --limit) {
    const rlimit few{limit, before.rlim_max};
    ASSERT_EQ(prlimit(queries, RLIMIT_NOFILE, &few, nullptr), 0);
    const RawClient client(daemon_->socket());
    closed = client.HasInput(150) && client.Receive(1).empty();
  }
  EXPECT_TRUE(closed);
  EXPECT_TRUE(daemon_->LogSays(std::string(ErrorText(BusError::kTooManyFiles))));
  ASSERT_EQ(prlimit(queries, RLIMIT_NOFILE, &before, nullptr), 0);
  EXPECT_TRUE(AnswersHonestly());
}

constexpr uid_t kNobody = 65534;

// Somebody else than root, as far as the daemon can tell: root becomes another user for the time of
// the work, and nobody but root needs to.
void AsStranger(const std::function<void()>& work) {
  std::thread thread([&] {
    // The system call itself changes this thread only.
    ASSERT_EQ(geteuid() == 0 ? syscall(SYS_setresgid, kNobody, kNobody, kNobody) : 0, 0);
    ASSERT_EQ(geteuid() == 0 ? syscall(SYS_setresuid, kNobody, kNobody, kNobody) : 0, 0);
    work();
  });
  thread.join();
}

std::string StrangersName() {
  const passwd* user = getpwuid(geteuid() == 0 ? kNobody : geteuid());
  return user == nullptr ? "nobody" : user->pw_name;
}

class StrangerTest : public LimitsTest {
 protected:
  // What keeps strangers out is then the daemon, not the directories of the test.
  void ServeStrangers(const std::string& configuration, std::uint32_t events = 3) {
    Serve("[socket]\nmode = '0666'\n" + configuration, events);
    std::filesystem::permissions(std::filesystem::path(daemon_->socket()).parent_path(),
                                 std::filesystem::perms(0755));
  }
};

TEST_F(StrangerTest, UserThatIsNotAllowedIsClosedUnheard) {
  ServeStrangers("allowed_users = ['root']\n");
  AsStranger([&] { RawClient(daemon_->socket()).AwaitClose(); });
  EXPECT_TRUE(daemon_->LogSays("is not an allowed user")) << daemon_->Log();
}

TEST_F(StrangerTest, UserThatIsAllowedIsAnswered) {
  ServeStrangers("allowed_users = ['" + StrangersName() + "']\n");
  AsStranger([&] { EXPECT_EQ(Ask(daemon_->socket(), QueryOf("edge")).status, 0); });
}

TEST_F(StrangerTest, OneUserHasALimitOfItsOwn) {
  ServeStrangers("[limits]\nconnections_per_user = 2\n");
  AsStranger([&] {
    RawClient first(daemon_->socket());
    const RawClient second(daemon_->socket());
    RawClient(daemon_->socket()).AwaitClose();
    EXPECT_TRUE(daemon_->LogSays("has as many connections as a user may have"));
    first.Vanish();
    EXPECT_TRUE(Eventually([&] { return daemon_->Children().size() == 1; }));
    EXPECT_EQ(Ask(daemon_->socket(), QueryOf("edge")).status, 0);
  });
}

TEST_F(StrangerTest, AnswerOfMoreRowsThanAllowedIsRefusedForAReason) {
  ServeStrangers("[limits]\nrows = 10\n", 11);
  AsStranger([&] {
    const auto connection = Connect(daemon_->socket());
    const ReadResult result =
        ExchangeQuery(*connection, QueryOf("edge"), "", [](const Row&) { return true; });
    EXPECT_EQ(result.outcome, ReadOutcome::kTooManyRows);
    EXPECT_THAT(result.reason, HasSubstr("the answer has more than 10 rows"));
  });
}

TEST_F(StrangerTest, CommandReadsMoreRowsThanAllowedInSeveralAnswers) {
  ServeStrangers("[limits]\nrows = 10\n", 11);
  AsStranger([&] { EXPECT_THAT(AskByCommand(daemon_->socket(), {"edge"}), SizeIs(11)); });
}

TEST_F(StrangerTest, AnswerOfAsManyRowsAsAllowedIsGiven) {
  ServeStrangers("[limits]\nrows = 11\n", 11);
  AsStranger([&] {
    EXPECT_THAT(Ask(daemon_->socket(), QueryOf("edge")).rows, SizeIs(11));
    Query newest = QueryOf("edge");
    newest.m_RecCount = 2;
    EXPECT_THAT(Ask(daemon_->socket(), newest).rows, SizeIs(2));
  });
}

TEST_F(LimitsTest, RootHasNoLimitOfRows) {
  if (geteuid() != 0) {
    GTEST_SKIP() << "needs to be root";
  }
  Serve("[limits]\nrows = 10\n", 11);
  EXPECT_THAT(Ask(daemon_->socket(), QueryOf("edge")).rows, SizeIs(11));
}

TEST_F(LimitsTest, ConnectionMayWorkOnlySoLong) {
  Serve("[limits]\nquery_time = '100s'\n");
  const auto connection = Connect(daemon_->socket());
  ASSERT_EQ(Ask(*connection, QueryOf("edge")).status, 0);
  ASSERT_THAT(daemon_->Children(), SizeIs(1));
  const pid_t child = daemon_->Children().front();
  EXPECT_THAT(std::stoi(Told(child, "limits", "Max cpu time")),
              testing::AllOf(testing::Ge(100), testing::Le(110)));
}

TEST_F(LimitsTest, QueryThatWorksTooLongIsEndedAndReported) {
  Serve("[limits]\nquery_time = '100s'\n");
  const RawClient client(daemon_->socket());
  ASSERT_TRUE(Eventually([&] { return daemon_->Children().size() == 1; }));
  ASSERT_FALSE(daemon_->Children().empty());
  kill(daemon_->Children().front(), SIGXCPU);  // as the system does
  client.AwaitClose();
  EXPECT_TRUE(daemon_->LogSays("a query took more than 100 seconds of work"));
  EXPECT_TRUE(AnswersHonestly());
}

Query LimitedQuery() {
  Query query = QueryOf("edge");
  query.m_RecCount = 1;
  return query;
}

// A list of codes as long as a column may be, none of which any event has: every one is compared
// with every event, which takes far longer than a second.
Query LongWork() {
  constexpr std::size_t kMostCodes = kMaxColumnSize / sizeof(int);
  constexpr int kCodeOfNoEvent = 1999;
  Query query = QueryOf("edge");
  query.m_Errcodes.assign(kMostCodes, kCodeOfNoEvent);
  return query;
}

TEST_F(LimitsTest, QueryThatReallyWorksTooLongEndsTheConnectionAndNobodyElses) {
  constexpr std::uint32_t kManyEventsToCompare = 400000;
  // With a sanitizer an honest query takes a second as well.
  const std::string seconds = PACKETDB_ADDRESS_SANITIZER ? "10" : "1";
  Serve("[limits]\nquery_time = '" + seconds + "s'\n", kManyEventsToCompare);
  const auto beside = Connect(daemon_->socket());
  ASSERT_EQ(Ask(*beside, LimitedQuery()).status, 0);
  EXPECT_EQ(Ask(daemon_->socket(), LongWork()).status, kAnswerClosed);
  EXPECT_TRUE(daemon_->LogSays("a query took more than " + seconds + " seconds of work"))
      << daemon_->Log();
  EXPECT_EQ(Ask(*beside, LimitedQuery()).status, 0) << "a connection beside it goes on";
}

TEST_F(LimitsTest, ProcessesThatReadWhatClientsSendHaveNoRights) {
  Serve("");
  const auto connection = Connect(daemon_->socket());
  ASSERT_EQ(Ask(*connection, QueryOf("edge")).status, 0);
  ASSERT_THAT(daemon_->Children(), SizeIs(1));
  const pid_t queries = ChildNamed(daemon_->program().pid(), "packetdb-query");
  for (const pid_t process : {queries, daemon_->Children().front()}) {
    EXPECT_EQ(Told(process, "status", "Seccomp:"), "2");
    EXPECT_EQ(Told(process, "status", "NoNewPrivs:"), "1");
    EXPECT_EQ(Told(process, "status", "CapPrm:"), "0000000000000000");
    EXPECT_EQ(Told(process, "status", "CapInh:"), "0000000000000000");
    EXPECT_EQ(Told(process, "limits", "Max core file size"), "0");
  }
}

}  // namespace
}  // namespace packetdb::host::test
