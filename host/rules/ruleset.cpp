#include "host/rules/ruleset.h"

#include <map>
#include <nlohmann/json.hpp>
#include <set>
#include <tuple>
#include <utility>

#include "host/rules/json_fields.h"
#include "host/rules/statements.h"

namespace packetdb::host {
namespace {

using nlohmann::json;

// Deeper than nft nests expressions; what is deeper is made to cost memory.
constexpr int kDeepest = 64;

json Parse(std::string_view text) {
  if (text.size() > kLargestRuleset) {
    throw RulesetError("larger than " + std::to_string(kLargestRuleset) + " bytes");
  }
  const auto refuse_deep = [](int depth, json::parse_event_t, const json&) {
    if (depth > kDeepest) {
      throw RulesetError("nested deeper than " + std::to_string(kDeepest) + " levels");
    }
    return true;
  };
  try {
    return json::parse(text, refuse_deep);
  } catch (const json::parse_error& error) {
    throw RulesetError("no JSON, at byte " + std::to_string(error.byte));
  } catch (const json::out_of_range&) {
    throw RulesetError("it has a number that is out of range");
  }
}

std::string Required(const json& object, const char* kind, const char* key) {
  std::string text = TextMember(object, key);
  if (text.empty()) throw RulesetError(std::string("a ") + kind + " without '" + key + "'");
  return text;
}

class RulesetReader {
 public:
  Ruleset Read(const json& objects);

 private:
  using Name = std::tuple<std::string, std::string, std::string>;

  void ReadTable(const json& table);
  void ReadChain(const json& object);
  void ReadRule(const json& object);
  bool IsDormant(const json& object) const;
  FilterChain& Chain(const std::string& family, const std::string& table, const std::string& name);

  std::set<std::pair<std::string, std::string>> dormant_;
  std::map<Name, std::size_t> chains_;  // where they are
  Ruleset ruleset_;
};

bool IsDormantTable(const json& table) {
  const json& flags = Member(table, "flags");
  if (!flags.is_array()) return IsText(flags, "dormant");
  for (const json& flag : flags) {
    if (IsText(flag, "dormant")) return true;
  }
  return false;
}

void RulesetReader::ReadTable(const json& table) {
  const std::string family = Required(table, "table", "family");
  const std::string name = Required(table, "table", "name");
  if (IsDormantTable(table)) dormant_.emplace(family, name);
}

bool RulesetReader::IsDormant(const json& object) const {
  return dormant_.contains({TextMember(object, "family"), TextMember(object, "table")});
}

FilterChain& RulesetReader::Chain(const std::string& family, const std::string& table,
                                  const std::string& name) {
  const auto [place, is_new] =
      chains_.try_emplace(Name(family, table, name), ruleset_.chains.size());
  if (is_new) ruleset_.chains.push_back({family, table, name, std::nullopt, {}});
  return ruleset_.chains[place->second];
}

void RulesetReader::ReadChain(const json& object) {
  FilterChain& chain = Chain(Required(object, "chain", "family"),
                             Required(object, "chain", "table"), Required(object, "chain", "name"));
  if (!object.contains("hook")) return;
  const json& priority = Member(object, "prio");
  chain.hook = {TextMember(object, "type"), TextMember(object, "hook"),
                priority.is_number_integer() ? priority.get<int>() : 0,
                !IsText(Member(object, "policy"), "drop")};
}

void RulesetReader::ReadRule(const json& object) {
  FilterChain& chain = Chain(Required(object, "rule", "family"), Required(object, "rule", "table"),
                             Required(object, "rule", "chain"));
  FilterRule rule;
  rule.place = {chain.family, chain.table, chain.name,
                NumberIn(Member(object, "handle"), UINT64_MAX), chain.rules.size() + 1};
  rule.scope.is_ipv6 = chain.family == "ip6";
  ReadStatements(rule, Member(object, "expr"));
  chain.rules.push_back(std::move(rule));
}

Ruleset RulesetReader::Read(const json& objects) {
  for (const json& object : objects) {
    if (object.contains("table")) ReadTable(object["table"]);
  }
  for (const json& object : objects) {
    if (const json& chain = Member(object, "chain"); chain.is_object() && !IsDormant(chain)) {
      ReadChain(chain);
    }
    if (const json& rule = Member(object, "rule"); rule.is_object() && !IsDormant(rule)) {
      ReadRule(rule);
    }
  }
  return std::move(ruleset_);
}

}  // namespace

std::string PlaceText(const RulePlace& place) {
  const std::string chain = place.family + " " + place.table + " " + place.chain;
  return place.handle ? chain + " handle " + std::to_string(*place.handle)
                      : chain + " rule " + std::to_string(place.number);
}

Ruleset ReadRuleset(std::string_view text) {
  const json root = Parse(text);
  const json& objects = Member(root, "nftables");
  if (!objects.is_array()) {
    throw RulesetError("no ruleset of nft: it has no list 'nftables'");
  }
  return RulesetReader().Read(objects);
}

}  // namespace packetdb::host
