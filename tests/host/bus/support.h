// What the tests of the bus share: connected ends, an exchange that has got to its answer, raw
// bytes, and a server in a thread.
#pragma once

#include <filesystem>
#include <functional>
#include <string>
#include <sys/socket.h>
#include <thread>

#include "host/bus/connection.h"
#include "host/bus/dispatcher.h"
#include "host/bus/message.h"
#include "host/bus/serve.h"

namespace packetdb::host {

inline constexpr int kTestCommand = 100;

// For waits that end because something arrives.
Timeouts PatientTimeouts();
// For waits that the test lets run out.
Timeouts ShortTimeouts();

// Two connected sockets, as yet without a connection on them.
struct RawPair {
  RawPair();
  SocketDescriptor one;
  SocketDescriptor other;
};

// Sends one byte with a descriptor attached.
void SendDescriptor(const SocketDescriptor& socket, int descriptor);

// Two ends of one connection.
struct Pair {
  explicit Pair(const Timeouts& timeouts = PatientTimeouts());
  explicit Pair(RawPair raw, const Timeouts& timeouts);
  Connection client;
  Connection server;
};

// A connection whose other end is bytes.
struct RawPeer {
  explicit RawPeer(const Timeouts& timeouts = PatientTimeouts());
  explicit RawPeer(RawPair pair, const Timeouts& timeouts);
  void Send(const std::string& bytes);
  void SendAndClose(const std::string& bytes);
  // What has arrived so far.
  std::string Receive();
  SocketDescriptor raw;
  Connection connection;
};

// An exchange that has got as far as the client's having the answer code: the server's end may
// write its table, the client's end may read it.
struct Exchange {
  explicit Exchange(int answer = 0);
  Pair pair;
  Message client{pair.client};
  Message server{pair.server};
};

// Serves one end of a connection from a thread until the client closes.
class ServerThread {
 public:
  ServerThread(Connection& connection, Dispatcher& dispatcher);
  // Waits for the end of the serving.
  ServeResult Join();
  ~ServerThread();

 private:
  ServeResult result_;
  std::thread thread_;
};

class TemporaryDirectory {
 public:
  TemporaryDirectory();
  ~TemporaryDirectory();
  std::string Path(const std::string& name) const { return (root_ / name).string(); }

 private:
  std::filesystem::path root_;
};

// A handler from a function. Clones share nothing but what the function captured.
class FunctionHandler : public UdbDispatcher::IUdbCallback {
 public:
  using Function = std::function<int(CAbstractPacketOptions*)>;
  explicit FunctionHandler(Function function) : function_(std::move(function)) {}
  int call(CAbstractPacketOptions* message) override { return function_(message); }
  const char* desc() const override { return "calling a function"; }
  UdbDispatcher::IUdbCallback* Clone() const override { return new FunctionHandler(*this); }

 private:
  Function function_;
};

void Register(Dispatcher& dispatcher, int command, FunctionHandler::Function function);

// Writes a request that carries its command and nothing else, and sends it.
void WriteRequest(Message& message, int command = kTestCommand);
// Reads a request up to its record.
void ReadRequest(Message& message);

// A frame as bytes; the length is right unless given.
std::string FrameBytes(int type, const std::string& payload, int version = 1);
std::string Big32(unsigned int value);
// The frames of a request that carries its command and nothing else.
std::string RequestBytes(int command = kTestCommand);

BusError LastError(const Message& message);

}  // namespace packetdb::host
