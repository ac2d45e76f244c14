#include "host/sources/log_group.h"

#include <cerrno>
#include <linux/netlink.h>
#include <sys/socket.h>
#include <sys/uio.h>
#include <system_error>
#include <utility>

namespace packetdb::host {
namespace {

// Datagrams of one call. Each has a few hundred records under load.
constexpr int kDatagramsAtOnce = 64;

// Of records without an interface.
constexpr const char* kNoInterface = "nflog";

// As SequenceTracker::Expect() takes it: a group's first record has the number 0.
constexpr std::uint64_t kFirstNumber = std::uint64_t{1} << 32U;

}  // namespace

std::unique_ptr<LogGroup> LogGroup::Open(const LogGroupOptions& options) {
  std::unique_ptr<LogGroup> group(new LogGroup(options, LogGroupSocket::Open(options)));
  group->ExpectSequence(kFirstNumber);
  return group;
}

std::unique_ptr<LogGroup> LogGroup::Adopt(int fd, const LogGroupOptions& options) {
  return std::unique_ptr<LogGroup>(new LogGroup(options, LogGroupSocket::Adopt(fd, options)));
}

LogGroup::LogGroup(const LogGroupOptions& options, LogGroupSocket socket)
    : name_("nflog:" + std::to_string(options.group)),
      socket_(std::move(socket)),
      records_(options.group,
               LiveInterfaceNames(
                   [fd = socket_.fd()](std::uint32_t index) { return AskInterfaceName(fd, index); },
                   kNoInterface)),
      buffer_(options.largest_datagram) {
  counters_.buffer_bytes = socket_.buffer_bytes();
}

bool LogGroup::Receive(EventSink& sink) {
  const BatchTime now = ReadBatchTime();
  int taken = 0;
  while (taken < kDatagramsAtOnce && ReceiveOne(now, sink)) ++taken;
  return taken > 0;
}

// False when nothing waits.
bool LogGroup::ReceiveOne(const BatchTime& now, EventSink& sink) {
  sockaddr_nl sender = {};
  iovec place = {buffer_.data(), buffer_.size()};
  msghdr message = {};
  message.msg_name = &sender;
  message.msg_namelen = sizeof sender;
  message.msg_iov = &place;
  message.msg_iovlen = 1;
  const ssize_t size = recvmsg(fd(), &message, MSG_DONTWAIT);
  if (size < 0) {
    if (errno == EAGAIN) return false;
    CountFailure();
    return true;
  }
  ++counters_.batches;
  if (sender.nl_pid != 0) {
    ++counters_.foreign;
  } else if ((message.msg_flags & MSG_TRUNC) != 0) {
    ++counters_.malformed;  // its records are missing in the numbers of the next one
  } else {
    records_.Take(ByteView(buffer_).first(static_cast<std::size_t>(size)), now, sink);
  }
  return true;
}

void LogGroup::CountFailure() {
  if (errno == ENOBUFS) {
    ++counters_.overruns;  // what was lost shows in the numbers
  } else if (errno != EINTR) {
    throw std::system_error(errno, std::generic_category(), name_);
  }
}

LiveCounters LogGroup::counters() const {
  LiveCounters counters = counters_;
  counters.lost_overrun = records_.lost();
  counters.malformed += records_.malformed();
  counters.next_sequence = records_.sequence().next();
  return counters;
}

}  // namespace packetdb::host
