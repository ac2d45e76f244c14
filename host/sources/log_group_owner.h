// Who holds a netfilter log group: the kernel gives its records to one socket only.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

namespace packetdb::host {

struct LogGroupOwner {
  bool known = false;  // whether the kernel's list could be read
  std::optional<std::uint32_t>
      port;                // the netlink port of the socket; none: nobody holds the group
  bool is_hidden = false;  // the list is there and may not be read, as by users of no privilege
};
LogGroupOwner FindLogGroupOwner(std::uint16_t group);

// A process that has a socket open.
struct SocketHolder {
  pid_t pid = 0;
  std::string name;  // as the kernel shows it; empty where it ended meanwhile
};
// All processes that have the netfilter socket with this port open: a service manager may keep one
// beside the process that reads it. None where they are not to be seen.
std::vector<SocketHolder> FindNetlinkHolders(std::uint32_t port);
// "ulogd (pid 812)"
std::string DescribeHolder(const SocketHolder& holder);

// The process that has a netfilter socket with this port open, as "ulogd (pid 812)"; "netlink port
// 812" where it is not to be seen.
std::string DescribeNetlinkPort(std::uint32_t port);

}  // namespace packetdb::host
