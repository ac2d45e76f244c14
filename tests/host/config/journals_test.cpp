// Where events go: [[journal]].
#include <gmock/gmock.h>

#include "tests/host/config/support.h"

namespace packetdb::host::test {
namespace {

using testing::ElementsAre;

TEST(Journals, OneTakesEverythingWhereNoneIsGiven) {
  const Configuration configuration = Read("");
  EXPECT_THAT(configuration.journals, ElementsAre(JournalSettings()));
  EXPECT_EQ(configuration.journals[0].name, "all");
}

TEST(Journals, TakeEveryKey) {
  const Configuration configuration = Read(R"(
[[log_group]]
group = 7
[[journal]]
name = "lan"
capacity = 5000000
window = "5min"
interfaces = ["lan*", "br?"]
log_groups = [7]
[[journal]]
name = "rest"
)");
  ASSERT_EQ(configuration.journals.size(), 2U);
  const JournalSettings& journal = configuration.journals[0];
  EXPECT_EQ(journal.name, "lan");
  EXPECT_EQ(journal.capacity, 5000000);
  EXPECT_EQ(journal.window_seconds, 300);
  EXPECT_THAT(journal.interfaces, ElementsAre("lan*", "br?"));
  EXPECT_THAT(journal.log_groups, ElementsAre(7));
  EXPECT_EQ(configuration.journals[1].capacity, std::nullopt);
  EXPECT_EQ(configuration.journals[1].window_seconds, std::nullopt);
  EXPECT_THAT(configuration.journals[1].interfaces, ElementsAre("*"));
}

TEST(Journals, NameHasToBeGivenAndToBeOne) {
  EXPECT_EQ(ProblemOf("[[journal]]\ncapacity = 5\n"),
            "c.toml:1:1: [[journal]] has no 'name': give a name of 1 to 31 letters, digits, '_', "
            "'-' or '.', not in front, such as \"lan\"");
  EXPECT_EQ(ProblemOf("[[journal]]\nname = \"../lan\"\n"),
            "c.toml:2:8: name = \"../lan\": give a name of 1 to 31 letters, digits, '_', '-' or "
            "'.', not in front, such as \"lan\"");
}

TEST(Journals, OneNameIsThereOnce) {
  EXPECT_EQ(ProblemOf("[[journal]]\nname = \"a\"\ninterfaces = [\"x\"]\n"
                      "[[journal]]\nname = \"a\"\n"),
            "c.toml:5:8: name = \"a\" is there already, at c.toml:2:8");
}

TEST(Journals, ValuesHaveLimits) {
  EXPECT_EQ(ProblemOf("[[journal]]\nname = \"a\"\ncapacity = 0\n"),
            "c.toml:3:12: capacity = 0: that is too small; give a whole number from 1 to "
            "2147483647, such as 5000000");
  EXPECT_EQ(ProblemOf("[[journal]]\nname = \"a\"\nwindow = \"1500ms\"\n"),
            "c.toml:3:10: window = \"1500ms\": that is between two steps; give a duration from "
            "\"0ms\" to \"8760h\" in steps of \"1s\", such as \"1min\"");
  EXPECT_EQ(Read("[[journal]]\nname = \"a\"\nwindow = \"0s\"\n").journals[0].window_seconds, 0);
}

TEST(Journals, InterfacesAreNamesWithWildcards) {
  constexpr const char* kEnd =
      "give a list of names of interfaces, 1 to 31 bytes without blanks and '/', in which * stands "
      "for any text and ? for any character, such as [\"eth*\"]";
  const auto problem = [](const std::string& list) {
    return ProblemOf("[[journal]]\nname = \"a\"\ninterfaces = " + list + "\n");
  };
  EXPECT_EQ(problem("[\"ok\", \"a b\"]"),
            std::string("c.toml:3:21: interfaces = \"a b\": ") + kEnd);
  EXPECT_EQ(problem("[\"a\", \"a\"]"),
            std::string("c.toml:3:20: interfaces = \"a\": it is there twice; ") + kEnd);
  EXPECT_EQ(problem("[]"), std::string("c.toml:3:14: interfaces = a list: it is empty; ") + kEnd);
  EXPECT_EQ(problem("\"eth0\""), std::string("c.toml:3:14: interfaces = \"eth0\": ") + kEnd);
  EXPECT_EQ(problem("[3]"), std::string("c.toml:3:15: interfaces = 3: ") + kEnd);
}

TEST(Journals, LogGroupsAreOnesThatAreRead) {
  EXPECT_EQ(ProblemOf("[[journal]]\nname = \"a\"\nlog_groups = [5, 7]\n"),
            "c.toml:3:14: log_groups: group 7 is not read; add [[log_group]] with group = 7");
  EXPECT_EQ(ProblemOf("intake = false\n[[journal]]\nname = \"a\"\nlog_groups = [5, 7]\n"), "");
}

TEST(Journals, LogGroupsAreNumbers) {
  constexpr const char* kEnd = "give a list of whole numbers from 0 to 65535, such as [5]";
  const auto problem = [](const std::string& list) {
    return ProblemOf("[[journal]]\nname = \"a\"\nlog_groups = " + list + "\n");
  };
  EXPECT_EQ(problem("[5, 5]"),
            std::string("c.toml:3:18: log_groups = 5: it is there twice; ") + kEnd);
  EXPECT_EQ(problem("[65536]"),
            std::string("c.toml:3:15: log_groups = 65536: that is too large; ") + kEnd);
  EXPECT_EQ(problem("[\"5\"]"), std::string("c.toml:3:15: log_groups = \"5\": ") + kEnd);
  EXPECT_EQ(problem("5"), std::string("c.toml:3:14: log_groups = 5: ") + kEnd);
}

TEST(Journals, OneThatGetsNothingIsRefused) {
  EXPECT_EQ(
      ProblemOf("[[journal]]\nname = \"a\"\n[[journal]]\nname = \"b\"\ninterfaces = [\"x\"]\n"),
      "c.toml:4:8: journal 'b' gets nothing: 'a' before it takes every event");
  EXPECT_EQ(ProblemOf("[[journal]]\nname = \"a\"\nlog_groups = [5]\n[[journal]]\nname = \"b\"\n"),
            "");
}

TEST(Journals, AreAtMost64) {
  std::string text;
  for (int i = 0; i < 65; ++i) {
    text += "[[journal]]\nname = \"j" + std::to_string(i) + "\"\ninterfaces = [\"x\"]\n";
  }
  EXPECT_EQ(ProblemOf(text), "c.toml:193:1: there are more than 64 of [[journal]]");
}

}  // namespace
}  // namespace packetdb::host::test
