#include "tests/system/support/service_manager.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <poll.h>
#include <sys/socket.h>
#include <system_error>

#include "host/bus/socket_address.h"
#include "tests/system/support/eventually.h"

namespace packetdb::host::test {

namespace {

// The value of a line "KEY=value" of a message.
std::string ValueOf(const std::string& message, const std::string& key) {
  const std::string start = key + "=";
  const std::size_t at = ("\n" + message).find("\n" + start);
  if (at == std::string::npos) {
    return "";
  }
  const std::string rest = message.substr(at + start.size());
  return rest.substr(0, rest.find('\n'));
}

SocketDescriptor DescriptorIn(msghdr& header) {
  for (cmsghdr* part = CMSG_FIRSTHDR(&header); part != nullptr; part = CMSG_NXTHDR(&header, part)) {
    if (part->cmsg_level == SOL_SOCKET && part->cmsg_type == SCM_RIGHTS) {
      int fd = -1;
      std::memcpy(&fd, CMSG_DATA(part), sizeof fd);
      return SocketDescriptor(fd);
    }
  }
  return SocketDescriptor();
}

}  // namespace

ServiceManager::ServiceManager()
    : place_("pdb notify"), socket_(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
  const SocketAddress address(place_.Path("notify"));
  if (bind(socket_.get(), address.Get(), address.Size()) != 0) {
    throw std::system_error(errno, std::generic_category(), "bind");
  }
}

std::string ServiceManager::variable() const { return "NOTIFY_SOCKET=" + place_.Path("notify"); }

bool ServiceManager::TakeOne(int milliseconds) {
  pollfd waited{socket_.get(), POLLIN, 0};
  if (poll(&waited, 1, milliseconds) != 1) {
    return false;
  }
  std::array<char, 4096> text;
  alignas(cmsghdr) std::array<char, 256> control;
  iovec part{text.data(), text.size()};
  msghdr header{};
  header.msg_iov = &part;
  header.msg_iovlen = 1;
  header.msg_control = control.data();
  header.msg_controllen = control.size();
  const ssize_t size = recvmsg(socket_.get(), &header, MSG_CMSG_CLOEXEC);
  const std::string message(text.data(), size > 0 ? static_cast<std::size_t>(size) : 0);
  Store(message, DescriptorIn(header));
  sayings_.push_back(message);
  return true;
}

void ServiceManager::Store(const std::string& message, SocketDescriptor descriptor) {
  const std::string name = ValueOf(message, "FDNAME");
  if (ValueOf(message, "FDSTORE") == "1" && descriptor.valid()) {
    stored_.insert_or_assign(name, std::move(descriptor));
  } else if (ValueOf(message, "FDSTOREREMOVE") == "1") {
    stored_.erase(name);
  }
}

bool ServiceManager::Hears(const std::string& text) {
  const auto end = std::chrono::steady_clock::now() + kPatience;
  while (Heard(text) == 0) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
        end - std::chrono::steady_clock::now());
    if (left.count() <= 0 || !TakeOne(static_cast<int>(left.count()))) {
      return Heard(text) != 0;
    }
  }
  return true;
}

void ServiceManager::ForgetSayings() {
  while (TakeOne(0)) {
  }
  sayings_.clear();
}

std::size_t ServiceManager::Heard(const std::string& text) {
  while (TakeOne(0)) {
  }
  return static_cast<std::size_t>(
      std::count_if(sayings_.begin(), sayings_.end(),
                    [&](const std::string& each) { return each.find(text) != std::string::npos; }));
}

LiveDaemonOptions ServiceManager::OptionsWithStored() const {
  LiveDaemonOptions options;
  options.variables.push_back(variable());
  for (const auto& [name, descriptor] : stored_) {
    options.descriptors.push_back(descriptor.get());
    options.descriptor_names.push_back(name);
  }
  return options;
}

}  // namespace packetdb::host::test
