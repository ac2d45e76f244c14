#include "host/sources/log_group_socket.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <libmnl/libmnl.h>
#include <sys/socket.h>
#include <system_error>
#include <unistd.h>

#include "host/sources/live_source.h"
#include "host/sources/log_group_filter.h"
#include "host/sources/log_group_message.h"
#include "host/sources/log_group_owner.h"

namespace packetdb::host {
namespace {

using Answer = LogGroupMessage::Answer;

[[noreturn]] void Fail(std::uint16_t group, const std::string& reason) {
  throw SourceError("log group " + std::to_string(group) + ": " + reason);
}

[[noreturn]] void FailSystem(std::uint16_t group, const std::string& what, int error) {
  Fail(group, what + ": " + std::generic_category().message(error));
}

// More than the system's limit is for those only who may administer the network of the machine.
void AskForReceiveBuffer(int fd, std::uint32_t bytes) {
  const int wanted = static_cast<int>(std::min<std::uint32_t>(bytes, 1U << 30U));
  if (setsockopt(fd, SOL_SOCKET, SO_RCVBUFFORCE, &wanted, sizeof wanted) == 0) return;
  setsockopt(fd, SOL_SOCKET, SO_RCVBUF, &wanted, sizeof wanted);
}

int Option(int fd, int name) {
  int value = -1;
  socklen_t size = sizeof value;
  return getsockopt(fd, SOL_SOCKET, name, &value, &size) == 0 ? value : -1;
}

bool IsNetfilterSocket(int fd) {
  return Option(fd, SO_DOMAIN) == AF_NETLINK && Option(fd, SO_PROTOCOL) == NETLINK_NETFILTER;
}

bool MakeUsable(int fd) {
  const int status = fcntl(fd, F_GETFL);
  return status >= 0 && fcntl(fd, F_SETFL, status | O_NONBLOCK) == 0 &&
         fcntl(fd, F_SETFD, FD_CLOEXEC) == 0;
}

std::string DescribeHolder(std::uint16_t group) {
  const LogGroupOwner owner = FindLogGroupOwner(group);
  if (owner.port) return DescribeNetlinkPort(*owner.port);
  return "another process, which is for root to see";
}

// Of what the kernel says, EPERM is about the group only when we may ask at all.
std::string DescribeRefusal(const mnl_socket* socket, std::uint16_t group, int error) {
  switch (error) {
    case EPERM:
    case EBUSY:
      return MayAskKernel(socket) ? "held by " + DescribeHolder(group)
                                  : "no right to read it: CAP_NET_ADMIN is missing";
    case EINVAL:
    case EOPNOTSUPP:
      return "the kernel does not know log groups: its module nfnetlink_log is missing";
    default:
      return "refused by the kernel: " + std::generic_category().message(error);
  }
}

}  // namespace

void LogGroupSocket::Closer::operator()(mnl_socket* socket) const { mnl_socket_close(socket); }

LogGroupSocket LogGroupSocket::Open(const LogGroupOptions& options) {
  Handle handle(mnl_socket_open2(NETLINK_NETFILTER, SOCK_NONBLOCK | SOCK_CLOEXEC));
  if (!handle || mnl_socket_bind(handle.get(), 0, MNL_SOCKET_AUTOPID) != 0) {
    FailSystem(options.group, "no netfilter socket", errno);
  }
  LogGroupSocket socket(std::move(handle));
  AskForReceiveBuffer(socket.fd(), options.receive_buffer);
  socket.BindGroup(options);
  return socket;
}

void LogGroupSocket::BindGroup(const LogGroupOptions& options) {
  LogGroupMessage message(options.group, Answer::kAlways);
  message.Bind().Set(options);
  if (!AdmitOnlyAnswers(fd())) FailSystem(options.group, "no filter for its socket", errno);
  if (const int error = AskKernel(handle_.get(), message); error != 0) {
    Fail(options.group, DescribeRefusal(handle_.get(), options.group, error));
  }
  if (!AdmitEverything(fd())) FailSystem(options.group, "no end to its socket's filter", errno);
}

LogGroupSocket LogGroupSocket::Adopt(int fd, const LogGroupOptions& options) {
  const std::string descriptor = "descriptor " + std::to_string(fd);
  const bool is_netfilter = IsNetfilterSocket(fd);
  Handle handle(is_netfilter ? mnl_socket_fdopen(fd) : nullptr);
  if (!handle) {
    close(fd);
    Fail(options.group, descriptor + " is no netfilter socket");
  }
  LogGroupSocket socket(std::move(handle));
  socket.CheckIsHolder(options.group);
  AskForReceiveBuffer(fd, options.receive_buffer);
  LogGroupMessage message(options.group, Answer::kOnlyRefusal);
  message.Set(options);
  const int error = MakeUsable(fd) && AdmitEverything(fd) ? 0 : errno;
  const int told = error != 0 ? error : TellKernel(socket.handle_.get(), message);
  if (told != 0) FailSystem(options.group, descriptor + " cannot be set up", told);
  return socket;
}

// Where the list cannot be read, the kernel's refusal of what we tell it says the same later.
void LogGroupSocket::CheckIsHolder(std::uint16_t group) const {
  const LogGroupOwner owner = FindLogGroupOwner(group);
  if (!owner.known || owner.port == mnl_socket_get_portid(handle_.get())) return;
  Fail(group, "descriptor " + std::to_string(fd()) + " does not hold it, but " +
                  (owner.port ? DescribeNetlinkPort(*owner.port) : "nobody") + " does");
}

int LogGroupSocket::fd() const { return mnl_socket_get_fd(handle_.get()); }

std::uint32_t LogGroupSocket::buffer_bytes() const {
  return static_cast<std::uint32_t>(std::max(Option(fd(), SO_RCVBUF), 0));
}

}  // namespace packetdb::host
