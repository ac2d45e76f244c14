#include "host/sources/log_group_owner.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <limits>
#include <linux/netlink.h>
#include <sstream>
#include <system_error>

namespace packetdb::host {
namespace {

namespace fs = std::filesystem;

// By way of the process: /proc/net is not there where only processes are shown.
constexpr const char* kGroups = "/proc/self/net/netfilter/nfnetlink_log";
constexpr const char* kSockets = "/proc/self/net/netlink";

// The inode of the netfilter socket with this port; 0 when there is none. Columns: socket,
// protocol, port, groups, memory received and sent, dump, locks, drops, inode.
std::uint64_t FindInode(std::uint32_t port) {
  std::ifstream list(kSockets);
  for (std::string line; std::getline(list, line);) {
    std::istringstream columns(line);
    std::string ignored;
    unsigned int protocol = 0;
    std::uint32_t line_port = 0;
    if (!(columns >> ignored >> protocol >> line_port)) continue;
    if (protocol != NETLINK_NETFILTER || line_port != port) continue;
    std::uint64_t inode = 0;
    for (int i = 0; i < 6; ++i) columns >> ignored;
    if (columns >> inode) return inode;
  }
  return 0;
}

bool HasOpen(const fs::path& process, const std::string& socket) {
  std::error_code gone;  // or not ours to look at
  for (fs::directory_iterator file(process / "fd", gone), end; !gone && file != end;
       file.increment(gone)) {
    std::error_code closed;
    if (fs::read_symlink(file->path(), closed) == socket) return true;
  }
  return false;
}

SocketHolder HolderAt(const fs::path& process) {
  SocketHolder holder;
  holder.pid = static_cast<pid_t>(std::strtol(process.filename().c_str(), nullptr, 10));
  std::getline(std::ifstream(process / "comm"), holder.name);
  return holder;
}

bool IsProcess(const fs::path& entry) {
  const std::string name = entry.filename();
  return name.find_first_not_of("0123456789") == std::string::npos;
}

}  // namespace

// Columns: group, port, and how it is set up.
LogGroupOwner FindLogGroupOwner(std::uint16_t group) {
  std::ifstream list(kGroups);
  std::error_code unseen;
  LogGroupOwner owner{list.is_open(), std::nullopt, !list.is_open() && fs::exists(kGroups, unseen)};
  std::uint32_t line_group = 0;
  std::uint32_t port = 0;
  while (list >> line_group >> port) {
    if (line_group == group) owner.port = port;
    list.ignore(std::numeric_limits<std::streamsize>::max(), '\n');
  }
  return owner;
}

std::vector<SocketHolder> FindNetlinkHolders(std::uint32_t port) {
  std::vector<SocketHolder> holders;
  const std::uint64_t inode = FindInode(port);
  const std::string socket = "socket:[" + std::to_string(inode) + "]";
  std::error_code unreadable;
  for (fs::directory_iterator entry("/proc", unreadable), end;
       inode != 0 && !unreadable && entry != end; entry.increment(unreadable)) {
    if (IsProcess(entry->path()) && HasOpen(entry->path(), socket)) {
      holders.push_back(HolderAt(entry->path()));
    }
  }
  return holders;
}

std::string DescribeHolder(const SocketHolder& holder) {
  const std::string pid = std::to_string(holder.pid);
  return holder.name.empty() ? "pid " + pid : holder.name + " (pid " + pid + ")";
}

std::string DescribeNetlinkPort(std::uint32_t port) {
  const std::vector<SocketHolder> holders = FindNetlinkHolders(port);
  return holders.empty() ? "netlink port " + std::to_string(port) : DescribeHolder(holders.front());
}

}  // namespace packetdb::host
