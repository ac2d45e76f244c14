#include <algorithm>
#include <fmt/format.h>
#include <map>

#include "host/rules/checks.h"
#include "host/rules/own_form.h"

namespace packetdb::host {
namespace {

using Reader = GroupState::Reader;

constexpr const char* kKernelLogAdvice =
    "log to a group that packetdbd reads (log group N; for iptables -j NFLOG --nflog-group N)";

std::map<std::uint16_t, std::vector<FoundLog>> ByGroup(const std::vector<FoundLog>& logs) {
  std::map<std::uint16_t, std::vector<FoundLog>> groups;
  for (const FoundLog& found : logs) {
    if (found.log->group) groups[*found.log->group].push_back(found);
  }
  return groups;
}

std::vector<RulePlace> PlacesOf(const std::vector<FoundLog>& logs) {
  std::vector<RulePlace> places;
  places.reserve(logs.size());
  for (const FoundLog& found : logs) places.push_back(found.rule->place);
  return places;
}

std::vector<FoundLog> WithOwnPrefixes(std::vector<FoundLog> logs) {
  std::erase_if(logs, [](const FoundLog& found) { return !LooksLikeOwnForm(found.log->prefix); });
  return logs;
}

std::string ReadAdvice(std::uint16_t group, const LintSettings& settings) {
  std::string configure =
      fmt::format("add a [[log_group]] with group = {} to packetdbd's configuration", group);
  if (settings.read_groups.empty()) return configure;
  return fmt::format("log to group {}, which packetdbd reads, or {}", settings.read_groups.front(),
                     configure);
}

void CheckConfigured(std::uint16_t group, const std::vector<FoundLog>& logs,
                     const LintSettings& settings, Findings& findings) {
  if (!settings.is_live || settings.state_of(group).reader != Reader::kNobody) return;
  findings.push_back({"unread-group", PlacesOf(logs),
                      fmt::format("nobody reads log group {}, though it is packetdbd's: what is "
                                  "logged there is lost",
                                  group),
                      "start packetdbd with this configuration, or reload it"});
}

void CheckOther(std::uint16_t group, const std::vector<FoundLog>& logs,
                const LintSettings& settings, Findings& findings) {
  const GroupState state = settings.state_of(group);
  if (state.reader == Reader::kNobody) {
    findings.push_back(
        {"unread-group", PlacesOf(logs),
         fmt::format("nobody reads log group {}: what is logged there is lost", group),
         ReadAdvice(group, settings)});
    return;
  }
  // Another program's group is that program's business, but for prefixes that are meant for us.
  const std::vector<FoundLog> ours = WithOwnPrefixes(logs);
  if (state.reader == Reader::kOurs || ours.empty()) return;
  const std::string who = state.reader == Reader::kOther
                              ? fmt::format("{} reads, and not packetdbd", state.who)
                              : "packetdbd is not configured to read";
  findings.push_back(
      {"unread-group", PlacesOf(ours),
       fmt::format("prefixes of packetdb's form go to log group {}, which {}", group, who),
       ReadAdvice(group, settings)});
}

}  // namespace

void CheckTakenGroups(const std::vector<FoundLog>& logs, const LintSettings& settings,
                      Findings& findings) {
  const auto groups = ByGroup(logs);
  for (const std::uint16_t group : settings.read_groups) {
    const GroupState state = settings.state_of(group);
    if (state.reader != Reader::kOther) continue;
    const auto rules = groups.find(group);
    findings.push_back(
        {"taken-group", rules == groups.end() ? std::vector<RulePlace>() : PlacesOf(rules->second),
         fmt::format("log group {}, which packetdbd is to read, is held by {}", group, state.who),
         "give one of the two another group: the kernel sends a group's packets to one reader"});
  }
}

void CheckUnreadGroups(const std::vector<FoundLog>& logs, const LintSettings& settings,
                       Findings& findings) {
  for (const auto& [group, rules] : ByGroup(logs)) {
    const bool is_read = std::find(settings.read_groups.begin(), settings.read_groups.end(),
                                   group) != settings.read_groups.end();
    (is_read ? CheckConfigured : CheckOther)(group, rules, settings, findings);
  }
}

void CheckKernelLog(const std::vector<FoundLog>& logs, Findings& findings) {
  for (const FoundLog& found : logs) {
    if (found.log->group || found.log->level == "audit") continue;
    findings.push_back(
        {"kernel-log",
         {found.rule->place},
         "it logs without a group: to the kernel's log, where packetdbd sees nothing",
         kKernelLogAdvice});
  }
}

}  // namespace packetdb::host
