#include "host/sources/live_interface_names.h"

#include <cstring>
#include <net/if.h>
#include <sys/ioctl.h>

namespace packetdb::host {
namespace {

constexpr std::chrono::seconds kBelieved{1};
// More interfaces than this are forgotten and asked for again: memory has a bound whatever comes.
constexpr std::size_t kMostEntries = 4096;

}  // namespace

std::string AskInterfaceName(int socket, std::uint32_t index) {
  ifreq request = {};
  request.ifr_ifindex = static_cast<int>(index);
  if (ioctl(socket, SIOCGIFNAME, &request) != 0) return {};
  // A name of full length has no NUL.
  return {request.ifr_name, strnlen(request.ifr_name, sizeof request.ifr_name)};
}

const std::string& LiveInterfaceNames::Name(std::uint32_t index, Time now) {
  if (index == 0) return none_;
  if (last_ == nullptr || index != last_index_) {
    last_ = &Find(index, now);
    last_index_ = index;
  }
  if (now - last_->asked >= kBelieved) Refresh(index, now, *last_);
  return last_->name;
}

LiveInterfaceNames::Entry& LiveInterfaceNames::Find(std::uint32_t index, Time now) {
  if (const auto found = entries_.find(index); found != entries_.end()) return found->second;
  if (entries_.size() >= kMostEntries) entries_.clear();
  Entry& entry = entries_[index];
  entry.name = "if" + std::to_string(index);
  Refresh(index, now, entry);
  return entry;
}

void LiveInterfaceNames::Refresh(std::uint32_t index, Time now, Entry& entry) {
  entry.asked = now;
  if (std::string name = ask_(index); !name.empty()) entry.name = std::move(name);
}

}  // namespace packetdb::host
