// Rulesets for tests.
#pragma once

#include <string>
#include <vector>

#include "host/rules/lint.h"

namespace packetdb::host::test {

// All of a file; fails the test when there is none.
std::string FileText(const std::string& path);

// The JSON of a chain "input" with these rules, each the list of its statements.
std::string InputChain(const std::vector<std::string>& rules);

// What is found in it where group 5 is configured: "KIND: WHAT" each.
std::vector<std::string> FoundIn(const std::vector<std::string>& rules,
                                 const LintSettings& settings = {.read_groups = {5}});

}  // namespace packetdb::host::test
