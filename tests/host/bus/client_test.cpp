#include "host/bus/client.h"

#include <fstream>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "host/bus/listener.h"
#include "host/bus/socket_address.h"
#include "tests/host/bus/support.h"

namespace packetdb::host {
namespace {

class Connecting : public ::testing::Test {
 protected:
  // The reason why connecting fails.
  BusFailure Failing(const Timeouts& timeouts = PatientTimeouts()) {
    BusFailure failure;
    EXPECT_FALSE(ConnectTo(path_, timeouts, &failure));
    EXPECT_FALSE(failure.text.empty());
    return failure;
  }

  TemporaryDirectory directory_;
  std::string path_ = directory_.Path("bus");
};

TEST_F(Connecting, FindsNoSocket) {
  EXPECT_EQ(Failing().code, BusError::kNoSuchSocket);
  EXPECT_EQ(Failing().text, "the path does not exist: " + path_ + " (No such file or directory)");
  path_ = directory_.Path("nowhere/bus");
  EXPECT_EQ(Failing().code, BusError::kNoSuchSocket);
}

TEST_F(Connecting, IsRefusedWhereNobodyListens) {
  const SocketDescriptor bound(NewStreamSocket(0));
  const SocketAddress address(path_);
  ASSERT_EQ(bind(bound.get(), address.Get(), address.Size()), 0);
  EXPECT_EQ(Failing().code, BusError::kRefused);
}

TEST_F(Connecting, FindsSomethingElseThanASocket) {
  std::ofstream(path_) << "text";
  EXPECT_EQ(Failing().code, BusError::kNotASocket);
  path_ = directory_.Path("");
  EXPECT_EQ(Failing().code, BusError::kNotASocket);
}

TEST_F(Connecting, FindsASocketOfAnotherType) {
  const SocketDescriptor datagrams(socket(AF_UNIX, SOCK_DGRAM, 0));
  const SocketAddress address(path_);
  ASSERT_EQ(bind(datagrams.get(), address.Get(), address.Size()), 0);
  EXPECT_EQ(Failing().code, BusError::kNotASocket);
}

TEST_F(Connecting, RefusesAPathThatNoSocketCanHave) {
  path_ = "";
  EXPECT_EQ(Failing().code, BusError::kBadPath);
  path_ = "/" + std::string(kMaxSocketPath, 'x');
  EXPECT_EQ(Failing().code, BusError::kPathTooLong);
}

TEST_F(Connecting, GivesUpOnAServerThatTakesNobody) {
  BusFailure failure;
  const auto listener =
      Listener::Open({.path = path_, .mode = 0600, .group = {}, .backlog = 0}, &failure);
  ASSERT_TRUE(listener) << failure.text;
  std::vector<std::unique_ptr<Connection>> waiting;
  do {
    waiting.push_back(ConnectTo(path_, ShortTimeouts(), &failure));
  } while (waiting.back() != nullptr && waiting.size() < 100);
  EXPECT_EQ(failure.code, BusError::kTimedOut);
}

TEST_F(Connecting, LeavesTheFailureAloneOnSuccess) {
  BusFailure failure = MakeFailure(BusError::kRefused);
  const auto listener =
      Listener::Open({.path = path_, .mode = 0600, .group = {}, .backlog = 1}, &failure);
  EXPECT_TRUE(ConnectTo(path_, PatientTimeouts(), &failure));
  EXPECT_EQ(failure.code, BusError::kRefused);
}

TEST_F(Connecting, IsNotPermittedWithoutTheSocketsMode) {
  BusFailure failure;
  const auto listener =
      Listener::Open({.path = path_, .mode = 0000, .group = {}, .backlog = 1}, &failure);
  ASSERT_TRUE(listener) << failure.text;
  const pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    // Root may connect to anything, so the child becomes somebody else first.
    if (geteuid() == 0) {
      ASSERT_EQ(chmod(directory_.Path("").c_str(), 0755), 0);
      if (setresgid(65534, 65534, 65534) != 0 || setresuid(65534, 65534, 65534) != 0) _exit(2);
    }
    _exit(Failing().code == BusError::kNotPermitted ? 0 : 1);
  }
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
}

TEST_F(Connecting, NeedsADescriptor) {
  rlimit before;
  ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
  const rlimit none{0, before.rlim_max};
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
  const BusFailure failure = Failing();
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &before), 0);
  EXPECT_EQ(failure.code, BusError::kTooManyFiles);
}

TEST_F(Connecting, IsPutOffByAServerOutOfDescriptors) {
  BusFailure failure;
  const auto listener =
      Listener::Open({.path = path_, .mode = 0600, .group = {}, .backlog = 1}, &failure);
  const auto client = ConnectTo(path_, PatientTimeouts(), &failure);
  ASSERT_TRUE(client) << failure.text;
  rlimit before;
  ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
  const rlimit none{0, before.rlim_max};
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
  const auto refused = listener->Accept(PatientTimeouts(), &failure);
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &before), 0);
  EXPECT_FALSE(refused);
  EXPECT_EQ(failure.code, BusError::kTooManyFiles);
  EXPECT_TRUE(listener->Accept(PatientTimeouts(), &failure)) << "the connection went on waiting";
}

}  // namespace
}  // namespace packetdb::host
