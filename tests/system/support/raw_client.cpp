#include "tests/system/support/raw_client.h"

#include <array>
#include <cerrno>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <system_error>
#include <utility>

#include "host/bus/byte_order.h"
#include "host/bus/connection.h"
#include "host/bus/message.h"
#include "host/bus/socket_address.h"
#include "tests/system/support/eventually.h"

namespace packetdb::host::test {

namespace {

constexpr int kPatienceMilliseconds =
    static_cast<int>(std::chrono::milliseconds(kPatience).count());

[[noreturn]] void Fail(const std::string& what) {
  throw std::system_error(errno, std::generic_category(), what);
}

}  // namespace

RawClient::RawClient(const std::string& socket) : socket_(NewStreamSocket(0)) {
  const SocketAddress address(socket);
  if (!socket_.valid() || connect(socket_.get(), address.Get(), address.Size()) != 0) {
    Fail(socket);
  }
}

void RawClient::Send(const std::string& bytes) const {
  std::size_t sent = 0;
  while (sent < bytes.size()) {
    const ssize_t count =
        send(socket_.get(), bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
    if (count < 0) {
      return;
    }
    sent += static_cast<std::size_t>(count);
  }
}

void RawClient::FinishSending() const { shutdown(socket_.get(), SHUT_WR); }

std::string RawClient::Receive(std::size_t count) const {
  std::string bytes(count, '\0');
  std::size_t have = 0;
  while (have < count && HasInput(kPatienceMilliseconds)) {
    const ssize_t got = recv(socket_.get(), bytes.data() + have, count - have, 0);
    if (got <= 0) {
      break;
    }
    have += static_cast<std::size_t>(got);
  }
  bytes.resize(have);
  return bytes;
}

void RawClient::AwaitClose() const {
  std::array<char, 65536> part;
  for (;;) {
    if (!HasInput(kPatienceMilliseconds)) {
      ADD_FAILURE() << "the peer does not close";
      return;
    }
    if (recv(socket_.get(), part.data(), part.size(), 0) <= 0) {
      return;
    }
  }
}

bool RawClient::HasInput(int milliseconds) const {
  pollfd waited{socket_.get(), POLLIN, 0};
  return poll(&waited, 1, milliseconds) == 1;
}

std::string Big32(std::uint32_t value) {
  std::array<unsigned char, 4> bytes;
  StoreNetwork32(bytes.data(), value);
  return {bytes.begin(), bytes.end()};
}

std::string FrameBytes(FrameType type, const std::string& payload) {
  const auto length = static_cast<std::uint32_t>(kMinFrameLength + payload.size());
  return Big32(length) + static_cast<char>(kProtocolVersion) + static_cast<char>(type) + payload;
}

std::string HeaderPayload(std::uint32_t kind, const std::string& columns) {
  constexpr char kNoMarker = 0;
  std::string payload = Big32(kind) + Big32(1) + kNoMarker + static_cast<char>(columns.size());
  for (const char number : columns) {
    payload += Big32(kIntegerBit | static_cast<unsigned char>(number)) + Big32(4);
  }
  return payload;
}

// The server at the other end of the pair says nothing, and keeps what the client has sent.
std::string RequestOf(Query query) {
  std::array<int, 2> ends{};
  if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) {
    Fail("socketpair");
  }
  const SocketDescriptor server(ends[1]);
  shutdown(server.get(), SHUT_WR);
  Connection client(SocketDescriptor(ends[0]), Timeouts{});
  Message message(client);
  query.write(&message);
  std::string bytes(65536, '\0');
  const ssize_t count = recv(server.get(), bytes.data(), bytes.size(), 0);
  bytes.resize(count < 0 ? 0 : static_cast<std::size_t>(count));
  return bytes;
}

}  // namespace packetdb::host::test
