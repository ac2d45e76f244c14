#include "fuzz/socket_bytes.h"

#include <array>
#include <sys/socket.h>

#include "fuzz/promise.h"

namespace packetdb::fuzz {

SocketPair::SocketPair() {
  std::array<int, 2> ends{};
  if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) Fail("a socket pair");
  near = host::SocketDescriptor(ends[0]);
  far = host::SocketDescriptor(ends[1]);
}

host::Timeouts NoTimeAtAll() {
  constexpr std::chrono::milliseconds kNone{0};
  return {.wait = kNone, .frame = kNone, .message = kNone, .send = kNone, .connect = kNone};
}

bool Send(const host::SocketDescriptor& socket, std::span<const std::uint8_t> bytes) {
  while (!bytes.empty()) {
    const ssize_t count =
        send(socket.get(), bytes.data(), bytes.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
    if (count < 0) return false;
    bytes = bytes.subspan(static_cast<std::size_t>(count));
  }
  return true;
}

std::vector<std::uint8_t> Receive(const host::SocketDescriptor& socket) {
  static std::array<std::uint8_t, 65536> part;
  std::vector<std::uint8_t> bytes;
  for (;;) {
    const ssize_t count = recv(socket.get(), part.data(), part.size(), MSG_DONTWAIT);
    if (count <= 0) return bytes;
    bytes.insert(bytes.end(), part.begin(), part.begin() + count);
  }
}

}  // namespace packetdb::fuzz
