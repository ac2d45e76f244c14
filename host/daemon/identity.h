// Users and groups by name.
#pragma once

#include <set>
#include <string>
#include <sys/types.h>
#include <vector>

namespace packetdb::host {

struct Identity {
  uid_t uid = 0;
  gid_t gid = 0;
  std::vector<gid_t> groups;  // that the user is a member of, gid included
};

// Each takes a name, or a number that has none. Throws std::runtime_error naming what is not there.
Identity FindUser(const std::string& name);
gid_t FindGroup(const std::string& name);
std::set<uid_t> FindUsers(const std::vector<std::string>& names);

}  // namespace packetdb::host
