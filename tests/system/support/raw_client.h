// A client that sends bytes, whatever they are.
#pragma once

#include <string>

#include "host/bus/frame.h"
#include "host/bus/socket_descriptor.h"
#include "packetdb/query.h"

namespace packetdb::host::test {

class RawClient {
 public:
  // Connects; throws std::system_error.
  explicit RawClient(const std::string& socket);

  // What a peer that is gone does not take is lost.
  void Send(const std::string& bytes) const;
  // Says that nothing more comes.
  void FinishSending() const;
  // Waits for that many bytes; fewer when the peer closes before.
  std::string Receive(std::size_t count) const;
  // Waits until the peer closes; what it sends before is dropped.
  void AwaitClose() const;
  // Whether there is something to receive within the time given.
  bool HasInput(int milliseconds) const;
  // Goes away.
  void Vanish() { socket_.Close(); }

 private:
  SocketDescriptor socket_;
};

// Parts of requests as they travel.
std::string Big32(std::uint32_t value);
std::string FrameBytes(FrameType type, const std::string& payload);
// The payload of a header frame: one record and no marker, of integer columns of 4 bytes with
// these numbers.
std::string HeaderPayload(std::uint32_t kind, const std::string& columns);

// The bytes that the library's client sends for a query.
std::string RequestOf(Query query);

}  // namespace packetdb::host::test
