#include "host/sources/log_group_filter.h"

#include <arpa/inet.h>
#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <linux/filter.h>
#include <linux/netlink.h>
#include <sys/socket.h>

namespace packetdb::host {

bool AdmitOnlyAnswers(int socket) {
  // Filters load big endian, and a message's type is in this machine's order.
  const std::uint32_t answer = htons(NLMSG_ERROR);
  constexpr std::uint32_t kWholeMessage = 0xFFFFFFFF;
  std::array<sock_filter, 4> code = {{
      BPF_STMT(BPF_LD | BPF_H | BPF_ABS, offsetof(nlmsghdr, nlmsg_type)),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, answer, 0, 1),
      BPF_STMT(BPF_RET | BPF_K, kWholeMessage),
      BPF_STMT(BPF_RET | BPF_K, 0),
  }};
  const sock_fprog program = {static_cast<unsigned short>(code.size()), code.data()};
  return setsockopt(socket, SOL_SOCKET, SO_ATTACH_FILTER, &program, sizeof program) == 0;
}

bool AdmitEverything(int socket) {
  const int ignored = 0;
  return setsockopt(socket, SOL_SOCKET, SO_DETACH_FILTER, &ignored, sizeof ignored) == 0 ||
         errno == ENOENT;
}

}  // namespace packetdb::host
