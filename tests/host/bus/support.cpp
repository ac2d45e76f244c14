#include "tests/host/bus/support.h"

#include <array>
#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <stdexcept>

namespace packetdb::host {

using std::chrono::milliseconds;
using std::chrono::seconds;

Timeouts PatientTimeouts() { return {seconds(60), seconds(60), seconds(60), seconds(60)}; }

Timeouts ShortTimeouts() {
  return {milliseconds(30), milliseconds(30), milliseconds(30), milliseconds(30)};
}

RawPair::RawPair() {
  std::array<int, 2> fds{-1, -1};
  if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, fds.data()) != 0) {
    throw std::runtime_error("socketpair");
  }
  one = SocketDescriptor(fds[0]);
  other = SocketDescriptor(fds[1]);
}

void SendDescriptor(const SocketDescriptor& socket, int descriptor) {
  char byte = 0;
  iovec data{&byte, 1};
  alignas(cmsghdr) char control[CMSG_SPACE(sizeof(int))] = {};
  msghdr message{};
  message.msg_iov = &data;
  message.msg_iovlen = 1;
  message.msg_control = control;
  message.msg_controllen = sizeof control;
  cmsghdr* header = CMSG_FIRSTHDR(&message);
  header->cmsg_level = SOL_SOCKET;
  header->cmsg_type = SCM_RIGHTS;
  header->cmsg_len = CMSG_LEN(sizeof(int));
  std::memcpy(CMSG_DATA(header), &descriptor, sizeof descriptor);
  ASSERT_EQ(sendmsg(socket.get(), &message, 0), 1);
}

Pair::Pair(const Timeouts& timeouts) : Pair(RawPair(), timeouts) {}

Pair::Pair(RawPair raw, const Timeouts& timeouts)
    : client(std::move(raw.one), timeouts), server(std::move(raw.other), timeouts) {}

RawPeer::RawPeer(const Timeouts& timeouts) : RawPeer(RawPair(), timeouts) {}

RawPeer::RawPeer(RawPair pair, const Timeouts& timeouts)
    : raw(std::move(pair.one)), connection(std::move(pair.other), timeouts) {}

void RawPeer::Send(const std::string& bytes) {
  ASSERT_EQ(send(raw.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL),
            static_cast<ssize_t>(bytes.size()));
}

void RawPeer::SendAndClose(const std::string& bytes) {
  Send(bytes);
  raw.Close();
}

std::string RawPeer::Receive() {
  std::string all;
  std::array<char, 65536> part;
  ssize_t count;
  while ((count = recv(raw.get(), part.data(), part.size(), MSG_DONTWAIT)) > 0) {
    all.append(part.data(), static_cast<std::size_t>(count));
  }
  return all;
}

Exchange::Exchange(int answer) {
  WriteRequest(client);
  pair.client.Flush();
  ReadRequest(server);
  EXPECT_EQ(udbSendCommandAnswer(&server, answer), 0);
  EXPECT_EQ(udbGetCommandAnswer(&client), answer);
  client.BeginRead();
}

ServerThread::ServerThread(Connection& connection, Dispatcher& dispatcher)
    : thread_([this, &connection, &dispatcher] {
        result_ = ServeConnection(connection, dispatcher);
      }) {}

ServeResult ServerThread::Join() {
  thread_.join();
  return result_;
}

ServerThread::~ServerThread() {
  if (thread_.joinable()) thread_.join();
}

TemporaryDirectory::TemporaryDirectory() {
  std::string name = (std::filesystem::temp_directory_path() / "packetdb-bus-XXXXXX").string();
  if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("mkdtemp " + name);
  root_ = name;
}

TemporaryDirectory::~TemporaryDirectory() {
  std::error_code ignored;
  std::filesystem::remove_all(root_, ignored);
}

void Register(Dispatcher& dispatcher, int command, FunctionHandler::Function function) {
  const boost::shared_ptr<UdbDispatcher::IUdbCallback> handler(
      new FunctionHandler(std::move(function)));
  dispatcher.commands().emplace_back(handler, command);
}

void WriteRequest(Message& message, int command) {
  message.SetKind(kKindRequest);
  message.AddColumn(kIntegerBit, 4);
  message.SetRecordCount(1);
  EXPECT_EQ(message.WriteHeader(), 0);
  message.SetValue(0, &command);
  EXPECT_EQ(message.WriteRecord(), 0);
}

void ReadRequest(Message& message) {
  message.BeginRead();
  EXPECT_EQ(message.ReadHeader(), 0);
  EXPECT_EQ(message.ReadRecord(), 0);
}

std::string Big32(unsigned int value) {
  return {static_cast<char>(value >> 24), static_cast<char>(value >> 16),
          static_cast<char>(value >> 8), static_cast<char>(value)};
}

std::string FrameBytes(int type, const std::string& payload, int version) {
  return Big32(static_cast<unsigned int>(payload.size()) + 2) + static_cast<char>(version) +
         static_cast<char>(type) + payload;
}

std::string RequestBytes(int command) {
  const std::string no_marker_one_column{'\0', '\1'};
  return FrameBytes(1, Big32(1) + Big32(1) + no_marker_one_column + Big32(kIntegerBit) + Big32(4)) +
         FrameBytes(2, Big32(static_cast<unsigned int>(command)));
}

BusError LastError(const Message& message) { return static_cast<BusError>(message.LastError()); }

}  // namespace packetdb::host
