#include "host/daemon/loopback.h"

#include <arpa/inet.h>
#include <cerrno>
#include <cstring>
#include <fmt/format.h>
#include <netinet/in.h>
#include <stdexcept>
#include <sys/socket.h>
#include <utility>

namespace packetdb::host {

namespace {

constexpr int kBacklog = 16;

bool Listen(const SocketDescriptor& socket, const sockaddr_in& address) {
  // A daemon that is started again finds the connections of the one before still being closed.
  const int on = 1;
  return socket.valid() &&
         setsockopt(socket.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on) == 0 &&
         bind(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 &&
         listen(socket.get(), kBacklog) == 0;
}

}  // namespace

std::shared_ptr<Listener> ListenOnLoopback(std::uint16_t port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  SocketDescriptor listening(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
  const std::string name = fmt::format("127.0.0.1:{}", port);
  if (!Listen(listening, address)) {
    throw std::runtime_error(fmt::format("cannot listen at {}: {}", name, std::strerror(errno)));
  }
  return Listener::Adopt(std::move(listening), name);
}

}  // namespace packetdb::host
