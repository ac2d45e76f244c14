#include "host/bus/listener.h"

#include <fcntl.h>
#include <fstream>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "host/bus/client.h"
#include "host/bus/socket_address.h"
#include "tests/host/bus/support.h"

namespace packetdb::host {
namespace {

bool Exists(const std::string& path) {
  struct stat status;
  return lstat(path.c_str(), &status) == 0;
}

mode_t ModeOf(const std::string& path) {
  struct stat status;
  return lstat(path.c_str(), &status) == 0 ? status.st_mode & 07777 : 0;
}

// A bound socket that nobody listens on any more, as a killed server leaves it.
void LeaveStaleSocket(const std::string& path, int type = SOCK_STREAM) {
  const SocketDescriptor socket_fd(socket(AF_UNIX, type, 0));
  const SocketAddress address(path);
  ASSERT_EQ(bind(socket_fd.get(), address.Get(), address.Size()), 0);
}

class Listening : public ::testing::Test {
 protected:
  std::unique_ptr<Listener> Open(mode_t mode = 0600) {
    failure_ = {};
    return Listener::Open({.path = path_, .mode = mode, .group = {}, .backlog = 4}, &failure_);
  }
  std::unique_ptr<Connection> Connect() {
    failure_ = {};
    return ConnectTo(path_, PatientTimeouts(), &failure_);
  }
  std::unique_ptr<Connection> Accept(Listener& listener) {
    failure_ = {};
    return listener.Accept(PatientTimeouts(), &failure_);
  }

  TemporaryDirectory directory_;
  std::string path_ = directory_.Path("bus socket");
  BusFailure failure_;
};

TEST_F(Listening, AcceptsWhoConnectsAndKnowsWhoItIs) {
  const auto listener = Open();
  ASSERT_TRUE(listener) << failure_.text;
  const auto client = Connect();
  ASSERT_TRUE(client) << failure_.text;
  pollfd waiting{listener->fd(), POLLIN, 0};
  ASSERT_EQ(poll(&waiting, 1, 60000), 1);
  const auto server = Accept(*listener);
  ASSERT_TRUE(server) << failure_.text;
  EXPECT_EQ(server->Peer()->pid, getpid());
  EXPECT_EQ(server->Peer()->uid, geteuid());
  EXPECT_EQ(client->Peer()->pid, getpid()) << "the client can ask as well";
}

TEST_F(Listening, NeverBlocksWhereNobodyWaits) {
  const auto listener = Open();
  EXPECT_FALSE(Accept(*listener));
  EXPECT_EQ(failure_.code, BusError::kNothingToAccept);
}

TEST_F(Listening, GivesTheSocketExactlyItsModeWhateverTheUmask) {
  const mode_t before = umask(0077);
  for (mode_t mode : {0600u, 0660u, 0666u, 0700u}) {
    const auto listener = Open(mode);
    EXPECT_EQ(ModeOf(path_), mode);
  }
  umask(before);
}

TEST_F(Listening, GivesTheSocketItsGroup) {
  const auto listener =
      Listener::Open({.path = path_, .mode = 0660, .group = getegid(), .backlog = 4}, &failure_);
  ASSERT_TRUE(listener) << failure_.text;
  struct stat status;
  ASSERT_EQ(lstat(path_.c_str(), &status), 0);
  EXPECT_EQ(status.st_gid, getegid());
}

TEST_F(Listening, RemovesItsSocketAtTheEnd) {
  Open().reset();
  EXPECT_FALSE(Exists(path_));
}

TEST_F(Listening, RemovesNoSocketThatSomebodyPutInItsPlace) {
  auto listener = Open();
  ASSERT_EQ(unlink(path_.c_str()), 0);
  LeaveStaleSocket(path_);
  listener.reset();
  EXPECT_TRUE(Exists(path_));
}

TEST_F(Listening, ReplacesAStaleSocket) {
  LeaveStaleSocket(path_);
  const auto listener = Open();
  ASSERT_TRUE(listener) << failure_.text;
  EXPECT_TRUE(Connect());
}

TEST_F(Listening, StealsNoSocketThatIsServed) {
  const auto first = Open();
  ASSERT_TRUE(first);
  EXPECT_FALSE(Open());
  EXPECT_EQ(failure_.code, BusError::kAlreadyServed);
  EXPECT_NE(failure_.text.find(path_), std::string::npos);
  EXPECT_TRUE(Connect()) << "the first still serves";
}

TEST_F(Listening, StealsNoSocketWhoseQueueIsFull) {
  const auto first = Open();
  std::vector<SocketDescriptor> waiting;
  const SocketAddress address(path_);
  do {
    waiting.emplace_back(NewStreamSocket(SOCK_NONBLOCK));
  } while (connect(waiting.back().get(), address.Get(), address.Size()) == 0);
  EXPECT_FALSE(Open());
  EXPECT_EQ(failure_.code, BusError::kAlreadyServed);
}

TEST_F(Listening, RefusesAPathThatIsNoStreamSocket) {
  std::ofstream(path_) << "text";
  EXPECT_FALSE(Open());
  EXPECT_EQ(failure_.code, BusError::kNotASocket);
  EXPECT_TRUE(Exists(path_));
  path_ = directory_.Path("folder");
  ASSERT_EQ(mkdir(path_.c_str(), 0700), 0);
  EXPECT_FALSE(Open());
  EXPECT_EQ(failure_.code, BusError::kNotASocket);
}

TEST_F(Listening, RefusesALinkEvenToAStaleSocket) {
  const std::string target = directory_.Path("target");
  LeaveStaleSocket(target);
  ASSERT_EQ(symlink(target.c_str(), path_.c_str()), 0);
  EXPECT_FALSE(Open());
  EXPECT_EQ(failure_.code, BusError::kNotASocket);
  EXPECT_TRUE(Exists(target));
}

TEST_F(Listening, RefusesADatagramSocket) {
  const SocketDescriptor datagrams(socket(AF_UNIX, SOCK_DGRAM, 0));
  const SocketAddress address(path_);
  ASSERT_EQ(bind(datagrams.get(), address.Get(), address.Size()), 0);
  EXPECT_FALSE(Open());
  EXPECT_EQ(failure_.code, BusError::kNotASocket);
}

TEST_F(Listening, RefusesAPathThatNoSocketCanHave) {
  const std::string base = directory_.Path("");
  path_ = base + std::string(kMaxSocketPath + 1 - base.size(), 'x');
  EXPECT_FALSE(Open());
  EXPECT_EQ(failure_.code, BusError::kPathTooLong);
  path_ = "";
  EXPECT_FALSE(Open());
  EXPECT_EQ(failure_.code, BusError::kBadPath);
  path_ = directory_.Path(std::string("a\0b", 3));
  EXPECT_FALSE(Open());
  EXPECT_EQ(failure_.code, BusError::kBadPath);
}

TEST_F(Listening, TakesTheLongestPath) {
  const std::string base = directory_.Path("");
  path_ = base + std::string(kMaxSocketPath - base.size(), 'x');
  const auto listener = Open();
  ASSERT_TRUE(listener) << failure_.text;
  EXPECT_TRUE(Connect()) << failure_.text;
}

TEST_F(Listening, RefusesADirectoryThatDoesNotExist) {
  path_ = directory_.Path("nowhere/bus");
  EXPECT_FALSE(Open());
  EXPECT_EQ(failure_.code, BusError::kNoSuchSocket);
  EXPECT_NE(failure_.text.find("nowhere"), std::string::npos);
}

TEST_F(Listening, WaitsForAnotherStartInTheSameDirectoryAndThenGivesUp) {
  const SocketDescriptor other(open(directory_.Path("").c_str(), O_RDONLY | O_DIRECTORY));
  ASSERT_EQ(flock(other.get(), LOCK_EX), 0);
  EXPECT_FALSE(Open());
  EXPECT_EQ(failure_.code, BusError::kDirectoryBusy);
  ASSERT_EQ(flock(other.get(), LOCK_UN), 0);
  EXPECT_TRUE(Open()) << failure_.text;
}

TEST_F(Listening, OfManyStartsAtOnceOneServes) {
  LeaveStaleSocket(path_);
  std::vector<std::unique_ptr<Listener>> listeners(8);
  std::vector<std::thread> starts;
  for (auto& listener : listeners) {
    starts.emplace_back([&listener, this] {
      BusFailure failure;
      listener =
          Listener::Open({.path = path_, .mode = 0600, .group = {}, .backlog = 64}, &failure);
    });
  }
  for (std::thread& start : starts) start.join();
  const auto serves = [](const auto& listener) { return listener != nullptr; };
  EXPECT_EQ(std::count_if(listeners.begin(), listeners.end(), serves), 1);
  EXPECT_TRUE(Connect());
}

// Runs in a child of the test, as a daemon's does.
template <class Function>
void InChild(Function function) {
  const pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) _exit(function() ? 0 : 1);
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
}

TEST_F(Listening, KeepsItsSocketWhenAChildEnds) {
  auto listener = Open();
  InChild([&] {
    listener.reset();
    return true;
  });
  EXPECT_TRUE(Connect()) << failure_.text;
}

TEST_F(Listening, EndsWithItsProcessWhenTheChildrenAbandonIt) {
  auto listener = Open();
  int hold[2];
  ASSERT_EQ(pipe(hold), 0);
  const pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    listener->Abandon();
    close(hold[1]);
    char byte;
    _exit(read(hold[0], &byte, 1) == 0 && listener->fd() < 0 ? 0 : 1);
  }
  close(hold[0]);
  // The child may not have got there yet; its copy of the socket is all that keeps it alive.
  listener->Abandon();
  EXPECT_TRUE(Exists(path_)) << "abandoning removes nothing";
  close(hold[1]);
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_EQ(WEXITSTATUS(status), 0);
  EXPECT_FALSE(Connect());
  EXPECT_EQ(failure_.code, BusError::kRefused);
}

TEST_F(Listening, HandsAConnectionToAChildAndLosesNothingByDroppingIt) {
  auto listener = Open();
  const auto client = Connect();
  auto server = Accept(*listener);
  ASSERT_TRUE(server);
  const pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    listener->Abandon();
    Dispatcher dispatcher;
    Register(dispatcher, kTestCommand,
             [](CAbstractPacketOptions* message) { return udbSendCommandAnswer(message, 77); });
    _exit(ServeConnection(*server, dispatcher).end.code == BusError::kPeerClosed ? 0 : 1);
  }
  server.reset();
  Message message(*client);
  WriteRequest(message);
  EXPECT_EQ(udbGetCommandAnswer(&message), 77);
  shutdown(client->fd(), SHUT_RDWR);
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
}

TEST_F(Listening, ServesASocketThatSomebodyElseMadeAndLeavesItThere) {
  SocketDescriptor made(socket(AF_UNIX, SOCK_STREAM, 0));  // one that blocks
  const SocketAddress address(path_);
  ASSERT_EQ(bind(made.get(), address.Get(), address.Size()), 0);
  ASSERT_EQ(listen(made.get(), 4), 0);
  {
    const auto listener = Listener::Adopt(std::move(made), "theirs");
    EXPECT_EQ(listener->path(), "theirs");
    EXPECT_FALSE(Accept(*listener)) << "without waiting for somebody";
    const auto client = Connect();
    ASSERT_TRUE(client) << failure_.text;
    EXPECT_TRUE(Accept(*listener)) << failure_.text;
  }
  EXPECT_TRUE(Exists(path_));
}

TEST_F(Listening, GivesTheMereSocketToWhoAsksForIt) {
  const auto listener = Open();
  const auto client = Connect();
  ASSERT_TRUE(client) << failure_.text;
  const SocketDescriptor accepted = listener->AcceptSocket(&failure_);
  ASSERT_TRUE(accepted.valid());
  EXPECT_NE(fcntl(accepted.get(), F_GETFL) & O_NONBLOCK, 0);
}

}  // namespace
}  // namespace packetdb::host
