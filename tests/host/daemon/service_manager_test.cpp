// What the service manager gives, and what it is told.
#include "host/daemon/service_manager.h"

#include <array>
#include <cstdlib>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <vector>

#include "tests/host/daemon/forked.h"

namespace packetdb::host {
namespace {

using test::Forked;

// A listening socket without a name of its own.
int Listening() {
  const int fd = socket(AF_UNIX, SOCK_STREAM, 0);
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  return bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address.sun_family) == 0 &&
                 listen(fd, 1) == 0
             ? fd
             : -1;
}

int NotListening() { return socket(AF_UNIX, SOCK_DGRAM, 0); }

// Makes this process look as one that was started with these descriptors, each with its name.
void GiveDescriptors(const std::vector<std::pair<std::string, int>>& given) {
  constexpr int kAway = 100;
  std::string names;
  for (std::size_t i = 0; i < given.size(); ++i) {
    fcntl(given[i].second, F_DUPFD, kAway);
    names += (i == 0 ? "" : ":") + given[i].first;
  }
  for (std::size_t i = 0; i < given.size(); ++i) {
    dup2(kAway + static_cast<int>(i), 3 + static_cast<int>(i));
  }
  setenv("LISTEN_PID", std::to_string(getpid()).c_str(), 1);
  setenv("LISTEN_FDS", std::to_string(given.size()).c_str(), 1);
  setenv("LISTEN_FDNAMES", names.c_str(), 1);
}

std::string Name(const std::optional<SocketDescriptor>& given) {
  return given ? std::to_string(given->get()) : "none";
}

TEST(ServiceManagerTest, WithoutOneThereIsNothing) {
  EXPECT_EQ(Forked([] {
              ServiceManager manager;
              manager.Ready("fine");
              manager.FeedWatchdog();
              manager.DropTheRest();
              return Name(manager.TakeQuerySocket()) + Name(manager.TakeMetricsSocket()) +
                     Name(manager.TakeLogGroup(5)) + (manager.watchdog() ? "watched" : "");
            }),
            "nonenonenone");
}

TEST(ServiceManagerTest, DescriptorsAreSortedByTheirNames) {
  EXPECT_EQ(Forked([] {
              GiveDescriptors({{"nflog-5", NotListening()},
                               {"metrics", Listening()},
                               {"packetdb.socket", Listening()},
                               {"nflog-65535", NotListening()}});
              ServiceManager manager;
              return Name(manager.TakeQuerySocket()) + " " + Name(manager.TakeMetricsSocket()) +
                     " " + Name(manager.TakeLogGroup(5)) + " " + Name(manager.TakeLogGroup(65535)) +
                     " " + Name(manager.TakeLogGroup(6));
            }),
            "5 4 3 6 none");
}

TEST(ServiceManagerTest, EachIsGivenOnce) {
  EXPECT_EQ(Forked([] {
              GiveDescriptors({{"nflog-5", NotListening()}, {"query", Listening()}});
              ServiceManager manager;
              manager.TakeQuerySocket();
              manager.TakeLogGroup(5);
              return Name(manager.TakeQuerySocket()) + Name(manager.TakeLogGroup(5));
            }),
            "nonenone");
}

TEST(ServiceManagerTest, WhatIsNoneOfTheseIsClosed) {
  EXPECT_EQ(Forked([] {
              GiveDescriptors({{"nflog-x", NotListening()},
                               {"nflog-65536", NotListening()},
                               {"query", NotListening()}});
              const ServiceManager manager;
              std::string open;
              for (const int fd : {3, 4, 5}) {
                open += fcntl(fd, F_GETFD) < 0 ? "closed " : "open ";
              }
              return open;
            }),
            "closed closed closed ");
}

TEST(ServiceManagerTest, WhatNobodyTakesIsClosed) {
  EXPECT_EQ(
      Forked([] {
        GiveDescriptors({{"nflog-5", NotListening()}, {"query", Listening()}});
        ServiceManager manager;
        manager.DropTheRest();
        return std::string(fcntl(3, F_GETFD) < 0 && fcntl(4, F_GETFD) < 0 ? "closed" : "open");
      }),
      "closed");
}

// A socket that service managers are told through.
class NotifySocket {
 public:
  NotifySocket() : fd_(socket(AF_UNIX, SOCK_DGRAM, 0)) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    bind(fd_.get(), reinterpret_cast<sockaddr*>(&address), sizeof address.sun_family);
    socklen_t size = sizeof address;
    getsockname(fd_.get(), reinterpret_cast<sockaddr*>(&address), &size);
    // Its name begins with a NUL, which is written as @.
    name_ = "@" + std::string(address.sun_path + 1, size - offsetof(sockaddr_un, sun_path) - 1);
  }
  const std::string& name() const { return name_; }
  std::string Next() const {
    std::array<char, 4096> text;
    const ssize_t size = recv(fd_.get(), text.data(), text.size(), MSG_DONTWAIT);
    return {text.data(), size > 0 ? static_cast<std::size_t>(size) : 0};
  }

 private:
  SocketDescriptor fd_;
  std::string name_;
};

TEST(ServiceManagerTest, IsToldInItsWords) {
  const NotifySocket socket;
  Forked([&] {
    setenv("NOTIFY_SOCKET", socket.name().c_str(), 1);
    ServiceManager manager;
    manager.Ready("fine");
    manager.Reloading();
    manager.StoreLogGroup(5, STDIN_FILENO);
    manager.ForgetLogGroup(5);
    manager.FeedWatchdog();
    manager.Stopping();
    return std::string();
  });
  EXPECT_EQ(socket.Next(), "READY=1\nSTATUS=fine");
  EXPECT_THAT(socket.Next(), testing::MatchesRegex("RELOADING=1\nMONOTONIC_USEC=[0-9]+"));
  EXPECT_EQ(socket.Next(), "FDSTORE=1\nFDNAME=nflog-5\nFDPOLL=0");
  EXPECT_EQ(socket.Next(), "FDSTOREREMOVE=1\nFDNAME=nflog-5");
  EXPECT_EQ(socket.Next(), "WATCHDOG=1");
  EXPECT_EQ(socket.Next(), "STOPPING=1\nSTATUS=Stopping");
}

TEST(ServiceManagerTest, WatchdogIsThatOfThisProcess) {
  const auto watched = [](const std::string& pid) {
    return Forked([&] {
      setenv("WATCHDOG_USEC", "30000000", 1);
      setenv("WATCHDOG_PID", pid.empty() ? std::to_string(getpid()).c_str() : pid.c_str(), 1);
      const ServiceManager manager;
      return manager.watchdog() ? std::to_string(manager.watchdog()->count()) : "none";
    });
  };
  EXPECT_EQ(watched(""), "30000000");
  EXPECT_EQ(watched("1"), "none");
}

}  // namespace
}  // namespace packetdb::host
