#include "host/daemon/names_rows.h"

#include <gmock/gmock.h>
#include <sstream>

#include "host/intake/rule_line.h"
#include "host/sources/event.h"

namespace packetdb::host::test {
namespace {

using testing::Each;
using testing::ElementsAre;
using testing::SizeIs;

RuleEntry LineOf(std::uint32_t number, std::int64_t since, const std::string& prefix) {
  return {.number = number,
          .since = since,
          .prefix = prefix,
          .meaning = {.code = 44, .verdict = Verdict::kDrop, .flags = 0x2000000, .text = "why"}};
}

RuleDictionary DictionaryOf(const std::vector<RuleEntry>& entries) {
  std::string text = std::string(kRuleDictionaryTitle) + '\n';
  for (const RuleEntry& entry : entries) text += RuleLine(entry) + '\n';
  return RuleDictionary::Parse(text, "a test");
}

// The objects of the rows, a text each.
std::vector<std::string> ObjectsIn(const std::vector<std::string>& rows) {
  std::vector<std::string> objects;
  for (const std::string& row : rows) {
    std::istringstream lines(row);
    for (std::string line; std::getline(lines, line);) objects.push_back(line);
  }
  return objects;
}

TEST(NamesRowsTest, TellEventsFlagsNodesAndRules) {
  Configuration configuration;
  configuration.event_names = {{"scan", 44}};
  configuration.flag_names = {{"vpn", 0x2000000}};
  configuration.nodes = {{.network = 1, .prefix_length = 32, .id = 7, .name = "office"}};
  EXPECT_THAT(
      ObjectsIn(NamesRows(configuration, DictionaryOf({LineOf(3, 1600000000, "fw: ")}), {})),
      ElementsAre(R"({"kind":"event","code":44,"name":"scan"})",
                  R"({"kind":"flag","bits":33554432,"name":"vpn"})",
                  R"({"kind":"node","id":7,"name":"office"})",
                  R"({"kind":"rule","number":3,"since_unix":1600000000,"code":44,)"
                  R"("verdict":"drop","flags":33554432,"prefix":"fw: ","text":"why"})"));
}

TEST(NamesRowsTest, TellANodeOfSeveralNetworksOnce) {
  Configuration configuration;
  configuration.nodes = {{.network = 1, .prefix_length = 32, .id = 7, .name = "office"},
                         {.network = 2, .prefix_length = 32, .id = 7, .name = "office"}};
  EXPECT_THAT(ObjectsIn(NamesRows(configuration, {}, {})), SizeIs(1));
}

TEST(NamesRowsTest, PutManyObjectsIntoARow) {
  Configuration configuration;
  for (std::uint32_t id = 1; id <= kMostNodes; ++id) {
    configuration.nodes.push_back({.id = id, .name = "node-" + std::to_string(id)});
  }
  const std::vector<std::string> rows = NamesRows(configuration, {}, {});
  EXPECT_THAT(ObjectsIn(rows), SizeIs(kMostNodes));
  EXPECT_THAT(rows, Each(SizeIs(testing::Le(kNamesRowBytes))));
  EXPECT_LT(rows.size(), 400u);
}

TEST(NamesRowsTest, LeaveOutTheOldestMeaningsOfADictionaryThatIsTooLong) {
  std::vector<RuleEntry> entries;
  for (std::uint32_t number = 1; number <= kHighestRule; ++number) {
    for (std::int64_t since = 1; since <= 5; ++since) {
      entries.push_back(LineOf(number, since, "x"));
    }
  }
  const auto objects = ObjectsIn(NamesRows({}, DictionaryOf(entries), {}));
  ASSERT_THAT(objects, SizeIs(4 * kHighestRule + 1));
  EXPECT_THAT(objects.front(), testing::HasSubstr(R"("number":1,"since_unix":2,)"));
  EXPECT_EQ(objects.back(), R"({"kind":"left_out","of":"rule","rows":16383})");
}

TEST(NamesRowsTest, TellOfProblems) {
  EXPECT_THAT(ObjectsIn(NamesRows({}, {}, {"a line is damaged"})),
              ElementsAre(R"({"kind":"problem","text":"a line is damaged"})"));
}

TEST(NamesRowsTest, ReplaceBytesThatAreNoText) {
  const auto objects = ObjectsIn(NamesRows({}, DictionaryOf({LineOf(1, 1, "\xFF")}), {}));
  EXPECT_THAT(objects, ElementsAre(testing::HasSubstr("\"prefix\":\"\xEF\xBF\xBD\"")));
}

}  // namespace
}  // namespace packetdb::host::test
