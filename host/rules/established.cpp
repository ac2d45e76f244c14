#include "host/rules/established.h"

#include <algorithm>
#include <array>
#include <map>
#include <string_view>
#include <tuple>
#include <utility>

namespace packetdb::host {
namespace {

// The kernel's own limit of jumps within jumps.
constexpr int kDeepestCall = 16;

// Connection tracking sees packets at this priority; chains before it know no states.
constexpr int kTrackingPriority = -200;

bool KnowsStates(const FilterChain& chain) {
  constexpr std::array<std::string_view, 3> kFamilies = {"ip", "ip6", "inet"};
  if (!chain.hook || std::find(kFamilies.begin(), kFamilies.end(), chain.family) == kFamilies.end())
    return false;
  // Chains of type nat see the first packets of connections only.
  const bool sees_all = chain.hook->type == "filter" || chain.hook->type == "route";
  const bool is_early = (chain.hook->name == "prerouting" || chain.hook->name == "output") &&
                        chain.hook->priority <= kTrackingPriority;
  return sees_all && !is_early && chain.hook->name != "ingress" && chain.hook->name != "egress";
}

// Whether a later rule accepts for certain the established traffic that was logged.
bool AcceptsLogged(const FilterRule& later, const Scope& logged) {
  if (later.end != RuleEnd::kAccept) return false;
  if (!later.scope.has_conditions) return true;
  const bool is_any = logged.established == Established::kIncluded || !logged.has_conditions;
  return is_any && later.scope.established == Established::kIncluded && !later.scope.is_partial;
}

// Whether what a rule without a verdict logged is let through by those behind it.
bool IsAcceptedBehind(const FilterChain& chain, std::size_t rule, const Scope& logged) {
  for (std::size_t next = rule + 1; next < chain.rules.size(); ++next) {
    const FilterRule& later = chain.rules[next];
    if (AcceptsLogged(later, logged)) return true;
    const bool may_stay = later.end == RuleEnd::kFallsThrough || later.end == RuleEnd::kAccept ||
                          later.scope.established == Established::kExcluded;
    if (!may_stay) return false;
  }
  return chain.hook && chain.hook->accepts;
}

bool LogsEstablished(const LogStatement& log) {
  if (log.scope.is_partial || log.scope.established == Established::kExcluded) return false;
  return log.scope.established == Established::kIncluded || !log.scope.is_connectionless;
}

class EstablishedWalk {
 public:
  explicit EstablishedWalk(const Ruleset& ruleset) {
    for (const FilterChain& chain : ruleset.chains) chains_[NameOf(chain)] = &chain;
  }
  // Follows established traffic through a chain. True when it may end there.
  bool Follow(const FilterChain& chain, int depth);
  std::vector<EstablishedLog> found() && { return std::move(found_); }

 private:
  using Name = std::tuple<std::string_view, std::string_view, std::string_view>;
  static Name NameOf(const FilterChain& chain) { return {chain.family, chain.table, chain.name}; }

  void Look(const FilterChain& chain, std::size_t index);
  bool FollowCalls(const FilterChain& chain, const FilterRule& rule, int depth);

  std::map<Name, const FilterChain*> chains_;
  std::map<const FilterChain*, bool> followed_;  // whether it may end there
  std::vector<EstablishedLog> found_;
};

void EstablishedWalk::Look(const FilterChain& chain, std::size_t index) {
  const FilterRule& rule = chain.rules[index];
  for (const LogStatement& log : rule.logs) {
    const bool goes_on =
        rule.end == RuleEnd::kAccept ||
        (rule.end == RuleEnd::kFallsThrough && IsAcceptedBehind(chain, index, log.scope));
    if (LogsEstablished(log) && goes_on) {
      found_.push_back({&rule, log.scope.established == Established::kIncluded});
      return;
    }
  }
}

bool EstablishedWalk::FollowCalls(const FilterChain& chain, const FilterRule& rule, int depth) {
  bool may_end = false;
  for (const std::string& target : rule.calls) {
    const auto called = chains_.find(Name(chain.family, chain.table, target));
    if (called == chains_.end() || Follow(*called->second, depth + 1)) may_end = true;
  }
  return may_end;
}

bool EstablishedWalk::Follow(const FilterChain& chain, int depth) {
  if (depth > kDeepestCall) return true;
  const auto [known, is_new] = followed_.try_emplace(&chain, true);
  if (!is_new) return known->second;
  bool may_end = false;
  for (std::size_t i = 0; i < chain.rules.size() && !may_end; ++i) {
    Look(chain, i);
    may_end = FollowCalls(chain, chain.rules[i], depth) || chain.rules[i].may_settle;
  }
  followed_[&chain] = may_end;
  return may_end;
}

}  // namespace

std::vector<EstablishedLog> FindEstablishedLogs(const Ruleset& ruleset) {
  EstablishedWalk walk(ruleset);
  for (const FilterChain& chain : ruleset.chains) {
    if (KnowsStates(chain)) walk.Follow(chain, 0);
  }
  return std::move(walk).found();
}

}  // namespace packetdb::host
