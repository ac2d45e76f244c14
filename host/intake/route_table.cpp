#include "host/intake/route_table.h"

#include <algorithm>
#include <utility>

#include "host/intake/glob.h"
#include "host/intake/string_keys.h"
#include "host/journals/names.h"

namespace packetdb::host {

namespace {

bool Takes(const JournalSettings& journal, std::string_view interface, std::uint16_t log_group) {
  const auto& groups = journal.log_groups;
  const bool takes_group =
      groups.empty() || std::find(groups.begin(), groups.end(), log_group) != groups.end();
  return takes_group &&
         std::any_of(journal.interfaces.begin(), journal.interfaces.end(),
                     [&](const std::string& name) { return GlobMatches(name, interface); });
}

}  // namespace

std::string JournaledName(std::string_view interface) {
  if (interface.empty()) {
    return "unknown";
  }
  std::string name(interface.substr(0, kLongestName));
  for (char& byte : name) {
    byte = IsInterfaceName(std::string_view(&byte, 1)) ? byte : '?';
  }
  return name;
}

RouteTable::RouteTable(std::vector<JournalSettings> journals) : journals_(std::move(journals)) {}

std::size_t RouteTable::Hash::operator()(View key) const {
  constexpr std::size_t kOdd = 0x9E3779B97F4A7C15;
  return HashOf(key.interface) + key.log_group * kOdd;
}

Route& RouteTable::Find(std::string_view interface, std::uint16_t log_group) {
  const View key{interface, log_group};
  const auto found = routes_.find(key);
  return found != routes_.end() ? found->second : Add(key);
}

Route& RouteTable::Add(View key) {
  if (routes_.size() >= kMostRoutes) {
    routes_.clear();
    ++times_emptied_;
  }
  Route route;
  route.interface = JournaledName(key.interface);
  route.journal = Choose({route.interface, key.log_group});
  return routes_.emplace(Key{std::string(key.interface), key.log_group}, std::move(route))
      .first->second;
}

int RouteTable::Choose(View key) const {
  const auto journal =
      std::find_if(journals_.begin(), journals_.end(), [&](const JournalSettings& settings) {
        return Takes(settings, key.interface, key.log_group);
      });
  return journal == journals_.end() ? Route::kNoJournal
                                    : static_cast<int>(journal - journals_.begin());
}

}  // namespace packetdb::host
