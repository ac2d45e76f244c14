// udp_sender PORT COUNT PER_SECOND: sends COUNT packets of UDP to PORT of this machine from ten
// source ports in turn, at most PER_SECOND of them a second (0: as fast as it can).
#include <arpa/inet.h>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <netinet/in.h>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

namespace {

constexpr int kSockets = 10;
constexpr int kBurst = 20;  // packets between two looks at the clock

std::array<int, kSockets> OpenSockets(int port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<std::uint16_t>(port));
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  std::array<int, kSockets> sockets{};
  for (int& each : sockets) {
    each = socket(AF_INET, SOCK_DGRAM, 0);
    if (connect(each, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
      std::perror("udp_sender");
      std::exit(1);
    }
  }
  return sockets;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 4) {
    return 2;
  }
  const auto sockets = OpenSockets(std::atoi(argv[1]));
  const int count = std::atoi(argv[2]);
  const int per_second = std::atoi(argv[3]);
  const auto start = std::chrono::steady_clock::now();
  for (int sent = 0; sent < count; ++sent) {
    if (per_second != 0 && sent % kBurst == 0) {
      std::this_thread::sleep_until(start +
                                    std::chrono::microseconds(1000000LL * sent / per_second));
    }
    if (send(sockets[static_cast<std::size_t>(sent % kSockets)], "packet", 6, 0) != 6) {
      std::perror("udp_sender");
      return 1;
    }
  }
  return 0;
}
