// The page that explains the rule dictionary says what the code does.
#include <fstream>
#include <gmock/gmock.h>
#include <sstream>
#include <string>

#include "host/intake/rule_dictionary.h"
#include "host/intake/rule_line.h"
#include "host/sources/event.h"

namespace packetdb::host::test {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;

std::string Page() {
  const std::ifstream file(PACKETDB_RULE_DICTIONARY_PAGE);
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

// The example of the page, as the file that it shows.
std::string Example() {
  const std::string page = Page();
  const std::size_t begin = page.find("```\n") + 4;
  return page.substr(begin, page.find("```", begin) - begin);
}

TEST(PageOfTheRuleDictionary, ShowsADictionaryAsItIs) {
  const RuleDictionary dictionary = RuleDictionary::Parse(Example(), "the page");
  EXPECT_THAT(dictionary.problems(), IsEmpty());
  ASSERT_EQ(dictionary.entries().size(), 3U);
  const RuleEntry* const changed = dictionary.Find(2, 1764000000);
  EXPECT_EQ(changed->prefix, "fw \"web\": ");
  EXPECT_EQ(changed->meaning, (RuleMeaning{44, Verdict::kDrop, 0x2000000, "from outside"}));
  EXPECT_EQ(dictionary.Find(2, 1763800000)->meaning.code, kCodeLogged);
  EXPECT_EQ(dictionary.Find(1, 1763800000)->prefix, "pdb:input:12:drop");
}

TEST(PageOfTheRuleDictionary, TellsTheLimits) {
  const std::string page = Page();
  const auto row = [](const char* what, std::size_t limit) {
    return "| " + std::string(what) + " | " + std::to_string(limit) + " |";
  };
  EXPECT_THAT(page, HasSubstr(row("numbers", kHighestRule)));
  EXPECT_THAT(page, HasSubstr(row("bytes of a prefix", kLongestRulePrefix)));
  EXPECT_THAT(page, HasSubstr(row("bytes of a text", kLongestRuleText)));
  EXPECT_THAT(page, HasSubstr(row("bytes of the file", kLargestRuleDictionary)));
}

TEST(PageOfTheRuleDictionary, NamesTheFile) {
  EXPECT_THAT(Page(), HasSubstr("`" + std::string(kRuleDictionaryName) + "`"));
}

}  // namespace
}  // namespace packetdb::host::test
