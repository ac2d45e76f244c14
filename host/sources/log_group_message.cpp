#include "host/sources/log_group_message.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cerrno>
#include <libmnl/libmnl.h>
#include <linux/netfilter/nfnetlink.h>
#include <linux/netfilter/nfnetlink_log.h>
#include <sys/socket.h>

namespace packetdb::host {
namespace {

// The most that the kernel allows for what it gathers into one datagram.
constexpr std::uint32_t kGatheredBytes = 128U << 10U;

// Any number that is not 0, to know the answer by.
constexpr std::uint32_t kRequest = 1;

std::uint32_t Hundredths(std::chrono::milliseconds time) {
  return static_cast<std::uint32_t>(std::max<std::int64_t>((time.count() + 9) / 10, 1));
}

int Send(const mnl_socket* socket, std::span<const std::byte> message) {
  return mnl_socket_sendto(socket, message.data(), message.size()) < 0 ? errno : 0;
}

// The errno that a datagram carries if it is the kernel's answer to us.
struct Reply {
  nlmsghdr header;
  nlmsgerr error;
};
bool IsAnswer(const Reply& reply, ssize_t size, const sockaddr_nl& sender) {
  return size >= static_cast<ssize_t>(sizeof reply) && sender.nl_pid == 0 &&
         reply.header.nlmsg_type == NLMSG_ERROR && reply.header.nlmsg_seq == kRequest;
}

// The kernel carries out what it is told before sendto() returns: nothing has to be waited for.
int TakeAnswer(const mnl_socket* socket) {
  for (;;) {
    Reply reply = {};
    sockaddr_nl sender = {};
    socklen_t length = sizeof sender;
    const ssize_t size = recvfrom(mnl_socket_get_fd(socket), &reply, sizeof reply, MSG_DONTWAIT,
                                  reinterpret_cast<sockaddr*>(&sender), &length);
    if (size < 0 && errno == EINTR) continue;
    if (size < 0) return errno == EAGAIN ? ENOMSG : errno;
    if (IsAnswer(reply, size, sender)) return -reply.error.error;
  }
}

}  // namespace

LogGroupMessage::LogGroupMessage(std::uint16_t group, Answer answer)
    : buffer_(), header_(mnl_nlmsg_put_header(buffer_.data())) {
  header_->nlmsg_type = NFNL_SUBSYS_ULOG << 8 | NFULNL_MSG_CONFIG;
  header_->nlmsg_flags = NLM_F_REQUEST;
  if (answer == Answer::kAlways) header_->nlmsg_flags |= NLM_F_ACK;
  header_->nlmsg_seq = kRequest;
  auto* const body = static_cast<nfgenmsg*>(mnl_nlmsg_put_extra_header(header_, sizeof(nfgenmsg)));
  body->nfgen_family = AF_UNSPEC;
  body->version = NFNETLINK_V0;
  body->res_id = htons(group);
}

LogGroupMessage& LogGroupMessage::Bind() {
  const nfulnl_msg_config_cmd command = {NFULNL_CFG_CMD_BIND};
  mnl_attr_put(header_, NFULA_CFG_CMD, sizeof command, &command);
  return *this;
}

LogGroupMessage& LogGroupMessage::Set(const LogGroupOptions& options) {
  const nfulnl_msg_config_mode mode = {htonl(options.copy_range), NFULNL_COPY_PACKET, 0};
  mnl_attr_put(header_, NFULA_CFG_MODE, sizeof mode, &mode);
  mnl_attr_put_u32(header_, NFULA_CFG_TIMEOUT, htonl(Hundredths(options.flush_after)));
  mnl_attr_put_u32(header_, NFULA_CFG_NLBUFSIZ, htonl(kGatheredBytes));
  mnl_attr_put_u32(header_, NFULA_CFG_QTHRESH, htonl(options.queue_threshold));
  mnl_attr_put_u16(header_, NFULA_CFG_FLAGS, htons(NFULNL_CFG_F_SEQ));
  return *this;
}

std::span<const std::byte> LogGroupMessage::bytes() const {
  return std::span(buffer_).first(header_->nlmsg_len);
}

int AskKernel(const mnl_socket* socket, const LogGroupMessage& message) {
  const int error = Send(socket, message.bytes());
  return error != 0 ? error : TakeAnswer(socket);
}

int TellKernel(const mnl_socket* socket, const LogGroupMessage& message) {
  return Send(socket, message.bytes());
}

// The kernel looks at the right before it looks at a message, be it one that means nothing.
bool MayAskKernel(const mnl_socket* socket) {
  nlmsghdr message = {};
  message.nlmsg_len = sizeof message;
  message.nlmsg_type = NLMSG_NOOP;
  message.nlmsg_flags = NLM_F_REQUEST | NLM_F_ACK;
  message.nlmsg_seq = kRequest;
  const int error = Send(socket, std::as_bytes(std::span(&message, 1)));
  return (error != 0 ? error : TakeAnswer(socket)) == 0;
}

}  // namespace packetdb::host
