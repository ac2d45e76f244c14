#include "host/daemon/identity.h"

#include <charconv>
#include <fmt/format.h>
#include <grp.h>
#include <optional>
#include <pwd.h>
#include <stdexcept>

namespace packetdb::host {

namespace {

std::optional<unsigned int> AsNumber(const std::string& text) {
  unsigned int number = 0;
  const char* end = text.data() + text.size();
  const auto parsed = std::from_chars(text.data(), end, number);
  // The last number stands for "leave it as it is" in system calls.
  const bool whole = parsed.ec == std::errc() && parsed.ptr == end && number != ~0U;
  return whole ? std::optional(number) : std::nullopt;
}

std::vector<gid_t> GroupsOf(const char* name, gid_t gid) {
  int count = 32;
  std::vector<gid_t> groups(static_cast<std::size_t>(count));
  while (getgrouplist(name, gid, groups.data(), &count) < 0) {
    groups.resize(static_cast<std::size_t>(count));
  }
  groups.resize(static_cast<std::size_t>(count));
  return groups;
}

// getpwnam and getgrnam keep their answer in static memory, which one thread may do.
const passwd* Lookup(const std::string& name) {
  const passwd* entry = getpwnam(name.c_str());
  const auto number = AsNumber(name);
  return entry == nullptr && number ? getpwuid(*number) : entry;
}

}  // namespace

Identity FindUser(const std::string& name) {
  if (const passwd* entry = Lookup(name); entry != nullptr) {
    return {entry->pw_uid, entry->pw_gid, GroupsOf(entry->pw_name, entry->pw_gid)};
  }
  throw std::runtime_error(fmt::format("there is no user '{}'", name));
}

gid_t FindGroup(const std::string& name) {
  if (const group* entry = getgrnam(name.c_str()); entry != nullptr) {
    return entry->gr_gid;
  }
  if (const auto number = AsNumber(name); number) {
    return *number;
  }
  throw std::runtime_error(fmt::format("there is no group '{}'", name));
}

std::set<uid_t> FindUsers(const std::vector<std::string>& names) {
  std::set<uid_t> users;
  for (const std::string& name : names) {
    const auto number = AsNumber(name);
    users.insert(number && Lookup(name) == nullptr ? *number : FindUser(name).uid);
  }
  return users;
}

}  // namespace packetdb::host
