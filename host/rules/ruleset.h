// A packet filter's rules, as far as logging is concerned: what `nft -j list ruleset` tells.
#pragma once

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace packetdb::host {

struct RulePlace {
  std::string family;
  std::string table;
  std::string chain;
  std::optional<std::uint64_t> handle;  // the kernel's name for the rule; none in a text of ours
  std::size_t number = 0;               // in its chain, from 1
};
// "inet filter input handle 12"; without a handle "inet filter input rule 3".
std::string PlaceText(const RulePlace& place);

// What conditions say about packets of connections that are established.
enum class Established { kUnsaid, kIncluded, kExcluded };

// Which packets the conditions in front of a statement leave.
struct Scope {
  Established established = Established::kUnsaid;
  bool has_conditions = false;
  bool is_partial = false;         // some that are not judged: they may leave only a few packets
  bool is_connectionless = false;  // nothing but UDP and ICMP
  bool is_ipv6 = false;            // nothing but IPv6
};

struct LogStatement {
  std::optional<std::uint16_t> group;  // none: the kernel's own log
  std::string prefix;
  std::optional<std::uint32_t> snap_length;  // bytes
  std::string level;                         // empty: the usual one
  Scope scope;
  bool is_decided = false;  // the rule's verdict is that of every packet it logs
};

// What becomes of a packet that a rule fits.
enum class RuleEnd {
  kFallsThrough,
  kAccept,
  kDrop,
  kReject,
  kElsewhere,  // another chain, a queue, or what is not known
};

struct FilterRule {
  RulePlace place;
  std::vector<LogStatement> logs;
  Scope scope;  // of the verdict
  RuleEnd end = RuleEnd::kFallsThrough;
  std::vector<std::string> calls;  // chains of the table that established traffic goes to from here
  // Behind the rule there may be no established traffic any more. When in doubt it is set.
  bool may_settle = false;
  bool has_hidden_log = false;  // logs by a module that nft shows no details of
};

struct ChainHook {
  std::string type;
  std::string name;
  int priority = 0;
  bool accepts = true;  // the policy
};

struct FilterChain {
  std::string family;
  std::string table;
  std::string name;
  std::optional<ChainHook> hook;  // none: entered from other chains only
  std::vector<FilterRule> rules;
};

// Tables that are dormant are left out: their rules see no packets.
struct Ruleset {
  std::vector<FilterChain> chains;
};

// A text that is no ruleset; what() says in one line why, and where in the text.
class RulesetError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// The largest that is read, in bytes.
inline constexpr std::size_t kLargestRuleset = 32U << 20U;

// Reads the JSON of libnftables-json(5). Throws RulesetError.
Ruleset ReadRuleset(std::string_view text);

}  // namespace packetdb::host
