#include "host/rules/group_state.h"

#include <string_view>
#include <vector>

#include "host/sources/log_group_owner.h"

namespace packetdb::host {
namespace {

// The process that reads log groups, under the name that it gives itself or that of its program.
bool IsOurs(std::string_view name) { return name == "packetdb-intake" || name == "packetdbd"; }

}  // namespace

GroupState ReadGroupState(std::uint16_t group) {
  const LogGroupOwner owner = FindLogGroupOwner(group);
  if (owner.is_hidden) return {GroupState::Reader::kHidden, "the kernel's list may not be read"};
  if (!owner.port) return {};
  const std::vector<SocketHolder> holders = FindNetlinkHolders(*owner.port);
  // A service manager keeps the socket over a restart, so any of them may be ours.
  for (const SocketHolder& holder : holders) {
    if (IsOurs(holder.name)) return {GroupState::Reader::kOurs, DescribeHolder(holder)};
  }
  if (holders.empty()) return {GroupState::Reader::kHidden, DescribeNetlinkPort(*owner.port)};
  return {GroupState::Reader::kOther, DescribeHolder(holders.front())};
}

}  // namespace packetdb::host
