// Who reads a netfilter log group of this machine.
#pragma once

#include <cstdint>
#include <string>

namespace packetdb::host {

struct GroupState {
  enum class Reader {
    kNobody,
    kOurs,    // packetdbd
    kOther,   // another process
    kHidden,  // nobody, or a process that is not to be seen from here
  };
  Reader reader = Reader::kNobody;
  std::string who;  // "ulogd (pid 812)"; of a hidden one, what is known
};

// As it is now, in this process's network. The kernel has no list where no group was ever used.
GroupState ReadGroupState(std::uint16_t group);

}  // namespace packetdb::host
