#include "host/config/changes.h"

#include <algorithm>

#include "host/config/sections.h"

namespace packetdb::host {

std::vector<ConfigurationChange> Changes(const Configuration& before, const Configuration& after) {
  std::vector<ConfigurationChange> changes;
  for (const auto& section : Sections()) section->Compare(before, after, changes);
  for (const auto& section : NodeSections()) section->Compare(before, after, changes);
  return changes;
}

bool HasEffect(const std::vector<ConfigurationChange>& changes, Effect effect) {
  return std::any_of(changes.begin(), changes.end(),
                     [effect](const ConfigurationChange& each) { return each.effect == effect; });
}

Configuration WithoutRestart(const Configuration& before, const Configuration& after) {
  Configuration reloaded = after;
  reloaded.directory = before.directory;
  reloaded.user = before.user;
  const std::vector<std::string> allowed = after.socket.allowed_users;
  reloaded.socket = before.socket;
  reloaded.socket.allowed_users = allowed;
  reloaded.metrics = before.metrics;
  return reloaded;
}

}  // namespace packetdb::host
