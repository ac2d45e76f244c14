#include "host/config/cross_checks.h"

#include <algorithm>
#include <fmt/format.h>
#include <map>
#include <string>
#include <unordered_map>

#include "host/config/event_names.h"
#include "host/config/written.h"

namespace packetdb::host {
namespace {

// `what` is "event code" or "bit".
void CheckNamedOnce(const Draft& draft, const NameTable& names, const std::string& section,
                    const char* what, Problems& problems) {
  const auto place_of = [&](const std::string& name) {
    return draft.PlaceOf(fmt::format("{}.{}", section, name));
  };
  std::map<std::uint32_t, std::string> first;
  for (const auto& [name, value] : names) {
    const auto [there, is_new] = first.try_emplace(value, name);
    if (is_new) continue;
    problems.Add(place_of(name),
                 fmt::format("{}: this {} has the name '{}' already, at {}", name, what,
                             there->second, problems.Show(place_of(there->second))));
  }
}

bool IsRead(std::uint16_t group, const Configuration& configuration) {
  return std::any_of(configuration.log_groups.begin(), configuration.log_groups.end(),
                     [group](const LogGroupSettings& each) { return each.group == group; });
}

void CheckLogGroupsAreRead(const Draft& draft, std::size_t journal, Problems& problems) {
  const auto& places = draft.elements.find("journal")->second;
  for (const std::uint16_t group : draft.configuration.journals[journal].log_groups) {
    if (IsRead(group, draft.configuration)) continue;
    problems.Add(places[journal].Of("log_groups"),
                 fmt::format("log_groups: group {} is not read; add [[log_group]] with group = {}",
                             group, group));
  }
}

bool TakesEverything(const JournalSettings& journal) {
  return journal.log_groups.empty() &&
         std::find(journal.interfaces.begin(), journal.interfaces.end(), "*") !=
             journal.interfaces.end();
}

// A journal behind one that takes everything would stay empty, which nobody wants.
void CheckEveryJournalIsReached(const Draft& draft, Problems& problems) {
  const auto& journals = draft.configuration.journals;
  const auto all = std::find_if(journals.begin(), journals.end(), TakesEverything);
  if (all == journals.end() || all + 1 == journals.end()) return;
  const auto& places = draft.elements.find("journal")->second;
  const auto next = static_cast<std::size_t>(all + 1 - journals.begin());
  problems.Add(places[next].Of("name"),
               fmt::format("journal '{}' gets nothing: '{}' before it takes every event",
                           journals[next].name, all->name));
}

void CheckJournals(const Draft& draft, Problems& problems) {
  const auto given = draft.elements.find("journal");
  if (given == draft.elements.end()) return;
  if (draft.configuration.intake) {
    for (std::size_t i = 0; i < given->second.size(); ++i) {
      CheckLogGroupsAreRead(draft, i, problems);
    }
  }
  CheckEveryJournalIsReached(draft, problems);
}

void CheckSources(const Draft& draft, Problems& problems) {
  const std::size_t groups = draft.configuration.log_groups.size();
  const std::size_t captures = draft.configuration.captures.size();
  if (groups + captures <= kMostSources) return;
  const auto& places = draft.elements.find("capture")->second;
  problems.Add(places[kMostSources - groups].element,
               fmt::format("there are {} log groups and captures, more than {}", groups + captures,
                           kMostSources));
}

void CheckSockets(const Draft& draft, Problems& problems) {
  const Configuration& configuration = draft.configuration;
  if (configuration.socket.path != configuration.metrics.socket) return;
  const std::string key = draft.keys.contains("metrics.socket") ? "metrics.socket" : "socket.path";
  problems.Add(draft.PlaceOf(key), "[socket] path and [metrics] socket are the same path");
}

void CheckNodes(const Draft& draft, Problems& problems) {
  std::unordered_map<std::uint32_t, std::size_t> by_id;
  std::unordered_map<std::string, std::size_t> by_name;
  const auto& nodes = draft.configuration.nodes;
  for (std::size_t i = 0; i < nodes.size(); ++i) {
    const auto& places = draft.elements.find("node")->second;
    const std::size_t same_id = by_id.try_emplace(nodes[i].id, i).first->second;
    const std::size_t same_name = by_name.try_emplace(nodes[i].name, i).first->second;
    if (nodes[same_id].name != nodes[i].name) {
      problems.Add(places[i].Of("name"), fmt::format("node {} is called {} at {}", nodes[i].id,
                                                     Quoted(nodes[same_id].name),
                                                     problems.Show(places[same_id].Of("name"))));
    } else if (nodes[same_name].id != nodes[i].id) {
      problems.Add(places[i].Of("id"),
                   fmt::format("{} is node {} at {}", Quoted(nodes[i].name), nodes[same_name].id,
                               problems.Show(places[same_name].Of("id"))));
    }
  }
}

}  // namespace

void CheckNames(const Draft& draft, Problems& problems) {
  CheckNamedOnce(draft, draft.configuration.event_names, "events", "event code", problems);
  CheckNamedOnce(draft, draft.configuration.flag_names, "flags", "bit", problems);
}

void CheckTogether(const Draft& draft, Problems& problems) {
  CheckSources(draft, problems);
  CheckJournals(draft, problems);
  CheckSockets(draft, problems);
  CheckNodes(draft, problems);
}

}  // namespace packetdb::host
