// What nft tells of real rulesets, and what is found in them: exactly what their first lines say.
#include <algorithm>
#include <filesystem>
#include <fmt/format.h>
#include <gmock/gmock.h>
#include <sstream>

#include "host/rules/lint.h"
#include "tests/host/rules/support.h"

namespace packetdb::host::test {
namespace {

const std::string kData = PACKETDB_SOURCE_DIR "/tests/host/rules/data/";

std::string SourceOf(const std::string& name) {
  const std::string nft = kData + name + ".nft";
  return FileText(std::filesystem::exists(nft) ? nft : kData + name + ".rules");
}

// Lines "# finds KIND CHAIN RULE...", without what is the same in all.
std::vector<std::string> Expected(const std::string& name) {
  const std::string start = "# finds ";
  std::vector<std::string> findings;
  std::istringstream lines(SourceOf(name));
  for (std::string line; std::getline(lines, line);) {
    if (line.starts_with(start)) findings.push_back(line.substr(start.size()));
  }
  return findings;
}

std::vector<std::string> Found(const std::string& name) {
  std::vector<std::string> findings;
  LintSettings settings;
  settings.read_groups = {5};
  for (const RuleFinding& finding :
       Lint(ReadRuleset(FileText(kData + name + ".json")), settings).findings) {
    std::string line = finding.kind + " " + finding.places.front().chain;
    for (const RulePlace& place : finding.places) line += fmt::format(" {}", place.number);
    findings.push_back(line);
  }
  return findings;
}

std::vector<std::string> Rulesets() {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(kData)) {
    if (entry.path().extension() == ".json") names.push_back(entry.path().stem());
  }
  std::sort(names.begin(), names.end());
  return names;
}

class RulesetsTest : public testing::TestWithParam<std::string> {};

TEST_P(RulesetsTest, ExactlyWhatIsWrongIsFound) {
  EXPECT_THAT(Found(GetParam()), testing::UnorderedElementsAreArray(Expected(GetParam())));
}

INSTANTIATE_TEST_SUITE_P(All, RulesetsTest, testing::ValuesIn(Rulesets()),
                         [](const auto& instance) { return instance.param; });

}  // namespace
}  // namespace packetdb::host::test
