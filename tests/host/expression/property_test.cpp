// What holds for every expression and every row: tried with many of both, by chance.
#include <algorithm>
#include <cstdlib>
#include <gmock/gmock.h>
#include <string_view>

#include "host/expression/explain.h"
#include "host/expression/predicate.h"
#include "host/expression/printer.h"
#include "host/expression/query_form.h"
#include "host/expression/split.h"
#include "tests/host/expression/support.h"

namespace packetdb::host::expression::test {
namespace {

constexpr int kRowsForEach = 60;

int Trees() {
  const char* const sweep = std::getenv("PACKETDB_SWEEP");
  return sweep != nullptr && std::string_view(sweep) == "all" ? 100000 : 3000;
}

bool QueryMatches(const Query& query, const Row& row) {
  return query.match(PacketDbItem(&row.event, 0));
}

TEST(AnyExpression, IsPrintedAsWhatReadsTheSame) {
  Random random(1);
  for (int i = 0; i < Trees(); ++i) {
    const Node tree = RandomTree(random, 4);
    const std::string text = Print(tree, TestNames());
    if (text.size() > 9000) continue;  // longer than an expression may be
    ASSERT_EQ(Parse(text, TestNames()), tree) << text;
  }
}

// A plain reading of the tree, with no program made of it.
bool Satisfies(const Node& node, const Row& row) {
  const auto holds = [&](const Node& child) { return Satisfies(child, row); };
  switch (node.kind) {
    case Node::Kind::kTerm:
      return Matches(node, row);
    case Node::Kind::kNot:
      return !Satisfies(node.children.front(), row);
    case Node::Kind::kAnd:
      return std::all_of(node.children.begin(), node.children.end(), holds);
    default:
      return std::any_of(node.children.begin(), node.children.end(), holds);
  }
}

TEST(AnyExpression, MatchesAsItsConditionsAreJoined) {
  Random random(2);
  int matched = 0;
  for (int i = 0; i < Trees(); ++i) {
    const Node tree = RandomTree(random, 4);
    const Predicate predicate(tree);
    for (int k = 0; k < kRowsForEach; ++k) {
      const Row row = RandomRow(random);
      ASSERT_EQ(predicate.Matches(row), Satisfies(tree, row)) << Print(tree, TestNames());
      matched += predicate.Matches(row) ? 1 : 0;
    }
  }
  EXPECT_GT(matched, Trees() * kRowsForEach / 5) << "else this says little";
  EXPECT_LT(matched, Trees() * kRowsForEach / 5 * 4);
}

TEST(AnyExpression, IsWhatDaemonInterfacesAndRestSayTogether) {
  Random random(3);
  int asked = 0;
  int exact = 0;
  for (int i = 0; i < Trees(); ++i) {
    const Node tree = RandomTree(random, 3);
    const Division division = Split(tree);
    const Predicate whole(tree);
    const Predicate rest(division.rest);
    for (int k = 0; k < kRowsForEach; ++k) {
      const Row row = RandomRow(random);
      const bool by_daemon = QueryMatches(division.query, row);
      ASSERT_EQ(by_daemon && division.WantsInterface(row.interface) && rest.Matches(row),
                whole.Matches(row))
          << Print(tree, TestNames()) << "\n"
          << Explain(division, TestNames());
      asked += by_daemon ? 0 : 1;
    }
    exact += IsEverything(division.rest) ? 1 : 0;
  }
  EXPECT_GT(asked, Trees() * kRowsForEach / 5) << "the daemon is asked for less than everything";
  EXPECT_GT(exact, Trees() / 10);
}

TEST(AnyExpression, IsExplainedByWhatTheDaemonReallyTests) {
  Random random(4);
  for (int i = 0; i < Trees(); ++i) {
    const Division division = Split(RandomTree(random, 3));
    const std::string text = Print(division.asked, TestNames());
    if (text.size() > 9000) continue;
    const Predicate asked(Parse(text, TestNames()));
    const Predicate form(ExpressionOf(division.query));
    for (int k = 0; k < kRowsForEach; ++k) {
      const Row row = RandomRow(random);
      ASSERT_EQ(asked.Matches(row), QueryMatches(division.query, row)) << text;
      ASSERT_EQ(form.Matches(row), QueryMatches(division.query, row)) << text;
    }
  }
}

}  // namespace
}  // namespace packetdb::host::expression::test
