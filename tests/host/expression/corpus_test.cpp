// Every case of corpus/*.txt: an expression behind `= `, and either what it is printed as behind
// `> `, or the three lines of its error behind `! `.
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>

#include "host/expression/error.h"
#include "host/expression/parser.h"
#include "host/expression/printer.h"
#include "tests/host/expression/support.h"

namespace packetdb::host::expression::test {
namespace {

struct Case {
  std::string where;
  std::string expression;
  std::string expected;  // lines, each with what it begins with
};

std::vector<Case> CasesOf(const std::filesystem::path& path) {
  std::vector<Case> cases;
  std::ifstream file(path);
  int number = 1;
  for (std::string line; std::getline(file, line); ++number) {
    if (line.starts_with("=")) {
      const std::string expression = line.size() > 2 ? line.substr(2) : "";
      cases.push_back({path.filename().string() + ":" + std::to_string(number), expression, ""});
    } else if ((line.starts_with(">") || line.starts_with("!")) && !cases.empty()) {
      cases.back().expected += line + "\n";
    } else {
      EXPECT_TRUE(line.empty() || line.starts_with("#")) << path << ":" << number;
    }
  }
  return cases;
}

std::string Marked(const std::string& mark, const std::string& lines) {
  std::string marked;
  for (std::size_t at = 0; at < lines.size();) {
    const std::size_t end = lines.find('\n', at);
    marked += mark + lines.substr(at, end + 1 - at);
    at = end + 1;
  }
  return marked;
}

std::string Outcome(const std::string& expression) {
  try {
    const std::string printed = Print(Parse(expression, TestNames()), TestNames());
    return printed.empty() ? ">\n" : "> " + printed + "\n";
  } catch (const ExpressionError& error) {
    return Marked("! ", Render(expression, error, "packetdb query"));
  }
}

std::vector<Case> AllCases() {
  std::vector<Case> all;
  const std::filesystem::path folder = PACKETDB_SOURCE_DIR "/tests/host/expression/corpus";
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    for (Case& each : CasesOf(entry.path())) all.push_back(std::move(each));
  }
  return all;
}

TEST(Corpus, EachExpressionIsReadOrRefusedAsItSays) {
  for (const Case& each : AllCases()) {
    EXPECT_EQ(Outcome(each.expression), each.expected) << each.where << ": " << each.expression;
  }
}

TEST(Corpus, WhatIsPrintedIsPrintedTheSameAgain) {
  for (const Case& each : AllCases()) {
    if (!each.expected.starts_with("> ")) continue;
    const std::string printed = each.expected.substr(2, each.expected.size() - 3);
    EXPECT_EQ(Outcome(printed), each.expected) << each.where;
  }
}

TEST(Corpus, HasManyOfBothKinds) {
  int accepted = 0;
  int refused = 0;
  for (const Case& each : AllCases()) ++(each.expected.starts_with(">") ? accepted : refused);
  EXPECT_GE(accepted, 180);
  EXPECT_GE(refused, 130);
}

}  // namespace
}  // namespace packetdb::host::expression::test
