// A netfilter log group: the packets that rules of the packet filter log to a number.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "host/sources/live_source.h"
#include "host/sources/log_group_options.h"
#include "host/sources/log_group_socket.h"
#include "host/sources/log_records.h"

namespace packetdb::host {

// Opening needs CAP_NET_ADMIN; receiving needs nothing but the descriptor, opens nothing and asks
// the kernel for names of interfaces only (an ioctl on that descriptor). Not to be used by two
// processes at a time.
class LogGroup final : public LiveSource {
 public:
  // Takes hold of the group. Every packet that is logged to it from then on is either received or
  // counted as lost. Throws SourceError, which says who holds the group where the kernel tells.
  static std::unique_ptr<LogGroup> Open(const LogGroupOptions& options);

  // Goes on with a socket that was opened for this group earlier, maybe by another program: packets
  // that wait in it are kept. Takes over the descriptor, also when it throws SourceError: for one
  // that is no netfilter socket, or does not hold the group. Buffer, copy range and the rest become
  // what the options say.
  static std::unique_ptr<LogGroup> Adopt(int fd, const LogGroupOptions& options);

  const std::string& name() const override { return name_; }
  int fd() const override { return socket_.fd(); }
  bool Receive(EventSink& sink) override;
  const CaptureCounters& packets() const override { return records_.packets(); }
  LiveCounters counters() const override;
  void ExpectSequence(std::uint64_t next) override { records_.sequence().Expect(next); }

 private:
  LogGroup(const LogGroupOptions& options, LogGroupSocket socket);
  bool ReceiveOne(const BatchTime& now, EventSink& sink);
  void CountFailure();

  std::string name_;
  LogGroupSocket socket_;
  LogRecords records_;
  std::vector<std::uint8_t> buffer_;
  LiveCounters counters_;  // what the records do not count
};

}  // namespace packetdb::host
