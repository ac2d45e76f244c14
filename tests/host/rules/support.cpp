#include "tests/host/rules/support.h"

#include <fmt/format.h>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>

namespace packetdb::host::test {

std::string FileText(const std::string& path) {
  const std::ifstream file(path);
  if (!file) ADD_FAILURE() << "cannot read " << path;
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

std::string InputChain(const std::vector<std::string>& rules) {
  const std::string where = R"("family": "inet", "table": "filter")";
  std::string text = R"({"nftables": [{"chain": {)" + where +
                     R"(, "name": "input", "type": "filter", "hook": "input", "prio": 0,)" +
                     R"( "policy": "drop"}})";
  int handle = 10;
  for (const std::string& statements : rules) {
    text += fmt::format(R"(, {{"rule": {{{}, "chain": "input", "handle": {}, "expr": {}}}}})",
                        where, handle++, statements);
  }
  return text + "]}";
}

std::vector<std::string> FoundIn(const std::vector<std::string>& rules,
                                 const LintSettings& settings) {
  std::vector<std::string> lines;
  for (const RuleFinding& finding : Lint(ReadRuleset(InputChain(rules)), settings).findings) {
    lines.push_back(finding.kind + ": " + finding.what);
  }
  return lines;
}

}  // namespace packetdb::host::test
