// Who holds a netfilter log group: the kernel gives its records to one socket only.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace packetdb::host {

struct LogGroupOwner {
  bool known = false;  // whether the kernel's list could be read
  std::optional<std::uint32_t>
      port;  // the netlink port of the socket; none: nobody holds the group
};
LogGroupOwner FindLogGroupOwner(std::uint16_t group);

// The process that has a netfilter socket with this port open, as "ulogd (pid 812)"; "netlink port
// 812" where it is not to be seen.
std::string DescribeNetlinkPort(std::uint32_t port);

}  // namespace packetdb::host
