// What we tell the kernel about a log group, and its answer.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "host/sources/log_group_options.h"

struct mnl_socket;
struct nlmsghdr;

namespace packetdb::host {

// One message, which binds the group and sets it up at a time. The kernel takes it in that order.
class LogGroupMessage {
 public:
  enum class Answer { kAlways, kOnlyRefusal };

  LogGroupMessage(std::uint16_t group, Answer answer);
  LogGroupMessage(const LogGroupMessage&) = delete;
  LogGroupMessage& operator=(const LogGroupMessage&) = delete;

  // Makes the socket that sends this the only one that gets the group's records.
  LogGroupMessage& Bind();
  // Copy mode and range, threshold, timer, the kernel's own buffer, and numbers; no connection
  // tracking.
  LogGroupMessage& Set(const LogGroupOptions& options);

  std::span<const std::byte> bytes() const;

 private:
  static constexpr std::size_t kLargest = 256;
  alignas(8) std::array<std::byte, kLargest> buffer_;
  nlmsghdr* header_;
};

// Sends a message that is always answered, and takes the answer: 0, or the errno of whatever
// failed, ENOMSG standing for an answer that did not come. To be used on a socket that admits only
// answers.
int AskKernel(const mnl_socket* socket, const LogGroupMessage& message);

// Sends a message that is answered by a refusal only, which whoever reads the socket meets behind
// the records that wait there. 0 or errno.
int TellKernel(const mnl_socket* socket, const LogGroupMessage& message);

// Whether this socket may set up any log group: EPERM tells two things.
bool MayAskKernel(const mnl_socket* socket);

}  // namespace packetdb::host
