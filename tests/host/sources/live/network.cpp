#include "tests/host/sources/live/network.h"

#include <arpa/inet.h>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <net/if.h>
#include <netinet/in.h>
#include <sched.h>
#include <stdexcept>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

namespace packetdb::host::test {
namespace {

struct Entered {
  std::string problem;  // empty: none
  bool is_machine_administrator = false;
};

void Write(const char* path, const std::string& text) { std::ofstream(path) << text; }

std::string Reason(const char* what) { return std::string(what) + ": " + std::strerror(errno); }

// Root of a user namespace may do in its network namespace what root may, but for a few things. Who
// is root has to be known before the other one is made: some of the kernel's lists belong to root.
std::string EnterAsUser() {
  const std::string user = std::to_string(geteuid());
  const std::string group = std::to_string(getegid());
  if (unshare(CLONE_NEWUSER) != 0) return Reason("no user namespace");
  Write("/proc/self/setgroups", "deny");
  Write("/proc/self/uid_map", "0 " + user + " 1");
  Write("/proc/self/gid_map", "0 " + group + " 1");
  return unshare(CLONE_NEWNET) == 0 ? "" : Reason("no network namespace");
}

Entered Enter() {
  Entered entered;
  entered.is_machine_administrator = unshare(CLONE_NEWNET) == 0;
  if (!entered.is_machine_administrator) entered.problem = EnterAsUser();
  if (!entered.problem.empty()) return entered;
  // Where an ordinary user's path does not lead to the programs of administrators.
  setenv("PATH", "/usr/sbin:/sbin:/usr/bin:/bin", 1);
  SetInterfaceUp("lo", true);
  return entered;
}

const Entered& TheNetwork() {
  static const Entered entered = Enter();
  return entered;
}

class Pipe {
 public:
  Pipe(const std::string& command, const char* mode) : stream_(popen(command.c_str(), mode)) {
    if (stream_ == nullptr) throw std::runtime_error(Reason("popen"));
  }
  ~Pipe() {
    if (pclose(stream_) != 0) ADD_FAILURE() << "a command failed";
  }
  Pipe(const Pipe&) = delete;
  Pipe& operator=(const Pipe&) = delete;
  std::FILE* get() const { return stream_; }

 private:
  std::FILE* stream_;
};

void Run(const std::string& command) {
  if (std::system(command.c_str()) != 0) throw std::runtime_error(command);
}

}  // namespace

void OwnNetwork::SetUp() {
  if (const std::string& problem = TheNetwork().problem; !problem.empty()) GTEST_SKIP() << problem;
  SetRules("");
}

bool OwnNetwork::MayForce() { return TheNetwork().is_machine_administrator; }

void SetRules(const std::string& ruleset) {
  const Pipe nft("nft -f -", "w");
  std::fputs(("flush ruleset\n" + ruleset).c_str(), nft.get());
}

RuleCounter ReadRuleCounter() {
  const Pipe nft("nft list counter ip t c", "r");
  std::string text;
  for (int c = std::fgetc(nft.get()); c != EOF; c = std::fgetc(nft.get())) {
    text += static_cast<char>(c);
  }
  const std::size_t packets = text.find("packets ");
  const std::size_t bytes = text.find("bytes ");
  if (packets == std::string::npos || bytes == std::string::npos) throw std::runtime_error(text);
  return {std::strtoull(text.c_str() + packets + 8, nullptr, 10),
          std::strtoull(text.c_str() + bytes + 6, nullptr, 10)};
}

std::string LogRules(const std::string& hook, const std::string& log) {
  return "table ip t {\n counter c { }\n chain logged {\n  type filter hook " + hook +
         " priority 0;\n  udp dport 9 counter name c " + log + " drop\n }\n}\n";
}

void SetInterfaceUp(const std::string& interface, bool up) {
  const int fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  ifreq request = {};
  interface.copy(request.ifr_name, sizeof request.ifr_name - 1);
  ioctl(fd, SIOCGIFFLAGS, &request);
  constexpr short kUp = IFF_UP;
  request.ifr_flags = static_cast<short>(up ? request.ifr_flags | kUp : request.ifr_flags & ~kUp);
  EXPECT_EQ(ioctl(fd, SIOCSIFFLAGS, &request), 0) << std::strerror(errno);
  close(fd);
}

void SendPackets(int count, const char* address) {
  const int fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  sockaddr_in to = {};
  to.sin_family = AF_INET;
  to.sin_port = htons(9);
  inet_pton(AF_INET, address, &to.sin_addr);
  for (int i = 0; i < count; ++i) {
    // Refused by a rule for output, a packet has still been logged.
    sendto(fd, "abcd", 4, 0, reinterpret_cast<const sockaddr*>(&to), sizeof to);
  }
  close(fd);
}

// Without neighbours to look for, nothing but what tests send goes that way.
InterfacePair::InterfacePair() {
  Run("ip link add pdb0 type veth peer name pdb1");
  Run("ip link set pdb0 up && ip link set pdb1 up");
  Run("ip addr add 10.9.9.1/24 dev pdb0");
  Run(std::string("ip neigh add ") + kBeyond + " lladdr 02:00:00:00:00:01 dev pdb0");
}

void InterfacePair::Delete() {
  if (std::exchange(is_there_, false)) Run("ip link del pdb0");
}

}  // namespace packetdb::host::test
