// What log prefixes mean: [[rule]], [events] and [flags].
#include <gmock/gmock.h>

#include "tests/host/config/support.h"

namespace packetdb::host::test {
namespace {

using testing::AllOf;
using testing::Contains;
using testing::Key;
using testing::Not;
using testing::Pair;

TEST(Rules, TakeEveryKey) {
  const Configuration configuration = Read(R"(
[flags]
watched = 25
[[rule]]
prefix = "ssh-in* "
code = "port-scan"
verdict = "drop"
flags = ["watched"]
text = "ssh from outside"
)");
  ASSERT_EQ(configuration.rules.size(), 1U);
  const RuleSettings& rule = configuration.rules[0];
  EXPECT_EQ(rule.prefix, "ssh-in* ");
  EXPECT_EQ(rule.code, 20U);
  EXPECT_EQ(rule.verdict, Verdict::kDrop);
  EXPECT_EQ(rule.flags, 1U << 25U);
  EXPECT_EQ(rule.text, "ssh from outside");
}

TEST(Rules, CodeGoesByTheVerdictWhereItIsNotGiven) {
  const auto code = [](const std::string& verdict) {
    return Read("[[rule]]\nprefix = \"a\"\nverdict = \"" + verdict + "\"\n").rules[0].code;
  };
  EXPECT_EQ(code("drop"), 1U);
  EXPECT_EQ(code("reject"), 2U);
  EXPECT_EQ(code("accept"), 40U);
  EXPECT_EQ(code("none"), 3U);
  EXPECT_EQ(Read("[[rule]]\nprefix = \"a\"\n").rules[0].code, 3U);
}

TEST(Rules, CodeIsANumberOrTheNameOfAnEvent) {
  const auto problem = [](const std::string& code) {
    return ProblemOf("[[rule]]\nprefix = \"a\"\ncode = " + code + "\n");
  };
  constexpr const char* kEnd =
      "give a whole number from 1 to 1999 or the name of an event, such as \"port-scan\"";
  EXPECT_EQ(problem("1999"), "");
  EXPECT_EQ(problem("2000"), std::string("c.toml:3:8: code = 2000: that is too large; ") + kEnd);
  EXPECT_EQ(problem("0"), std::string("c.toml:3:8: code = 0: that is too small; ") + kEnd);
  EXPECT_EQ(problem("\"port-scna\""),
            std::string("c.toml:3:8: code = \"port-scna\": there is no event of that name; did you "
                        "mean 'port-scan'?; ") +
                kEnd);
  EXPECT_EQ(problem("\"something-else\""),
            std::string("c.toml:3:8: code = \"something-else\": there is no event of that name; ") +
                kEnd);
  EXPECT_EQ(problem("1.5"), std::string("c.toml:3:8: code = a number with a fraction: ") + kEnd);
}

TEST(Rules, NamesMayBeGivenBehindTheRuleThatUsesThem) {
  EXPECT_EQ(Read("[[rule]]\nprefix = \"a\"\ncode = \"mine\"\n[events]\nmine = 777\n").rules[0].code,
            777U);
}

TEST(Rules, VerdictIsOneOfFour) {
  EXPECT_EQ(ProblemOf("[[rule]]\nprefix = \"a\"\nverdict = \"deny\"\n"),
            "c.toml:3:11: verdict = \"deny\": give one of \"none\", \"accept\", \"drop\", "
            "\"reject\", such as \"none\"");
}

TEST(Rules, FlagsAreThoseOfTheTable) {
  const auto problem = [](const std::string& flags) {
    return ProblemOf("[flags]\nwatched = 31\n[[rule]]\nprefix = \"a\"\nflags = " + flags + "\n");
  };
  constexpr const char* kEnd = "give a list of names from [flags], such as [\"watched\"]";
  EXPECT_EQ(problem("[\"watched\"]"), "");
  EXPECT_EQ(problem("[\"watchd\"]"),
            std::string("c.toml:5:10: flags = \"watchd\": there is no flag of that name; did you "
                        "mean 'watched'?; ") +
                kEnd);
  EXPECT_EQ(problem("[\"dropped\"]"),
            std::string("c.toml:5:10: flags = \"dropped\": the daemon sets that itself, by the "
                        "verdict and by the packet; ") +
                kEnd);
  EXPECT_EQ(problem("[\"watched\", \"watched\"]"),
            std::string("c.toml:5:21: flags = \"watched\": it is there twice; ") + kEnd);
  EXPECT_EQ(problem("31"), std::string("c.toml:5:9: flags = 31: ") + kEnd);
  EXPECT_EQ(problem("[31]"), std::string("c.toml:5:10: flags = 31: ") + kEnd);
}

TEST(Rules, PrefixIsOneThatTheKernelCanLog) {
  const auto problem = [](const std::string& prefix) {
    return ProblemOf("[[rule]]\nprefix = \"" + prefix + "\"\n");
  };
  constexpr const char* kEnd = "give a text of 1 to 127 bytes, such as \"ssh-in*\"";
  EXPECT_EQ(problem(""), std::string("c.toml:2:10: prefix = \"\": it is empty; ") + kEnd);
  EXPECT_EQ(problem(std::string(127, 'p')), "");
  EXPECT_EQ(problem(std::string(128, 'p')), "c.toml:2:10: prefix = \"" + std::string(64, 'p') +
                                                "\"… (128 bytes): it has 128 bytes; " + kEnd);
  EXPECT_EQ(
      problem("a\\nb"),
      std::string("c.toml:2:10: prefix = \"a\\u000Ab\": there is a control character in it; ") +
          kEnd);
  EXPECT_EQ(ProblemOf("[[rule]]\ncode = 5\n"),
            std::string("c.toml:1:1: [[rule]] has no 'prefix': ") + kEnd);
}

TEST(Rules, OnePrefixIsThereOnce) {
  EXPECT_EQ(ProblemOf("[[rule]]\nprefix = \"a\"\n[[rule]]\nprefix = \"a\"\ncode = 5\n"),
            "c.toml:4:10: prefix = \"a\" is there already, at c.toml:2:10");
}

TEST(Rules, TextHas255BytesAtMost) {
  const auto problem = [](std::size_t size) {
    return ProblemOf("[[rule]]\nprefix = \"a\"\ntext = \"" + std::string(size, 't') + "\"\n");
  };
  EXPECT_EQ(problem(255), "");
  EXPECT_EQ(problem(256), "c.toml:3:8: text = \"" + std::string(64, 't') +
                              "\"… (256 bytes): it has 256 bytes; give a text of 0 to 255 bytes, "
                              "such as \"ssh from outside\"");
}

TEST(Rules, KeepTheOrderInWhichTheyStand) {
  const Configuration configuration =
      Read("[[rule]]\nprefix = \"z*\"\n[[rule]]\nprefix = \"a\"\n[[rule]]\nprefix = \"m\"\n");
  ASSERT_EQ(configuration.rules.size(), 3U);
  EXPECT_EQ(configuration.rules[0].prefix, "z*");
  EXPECT_EQ(configuration.rules[1].prefix, "a");
  EXPECT_EQ(configuration.rules[2].prefix, "m");
}

TEST(Rules, AreAtMost4096) {
  std::string text;
  for (int i = 0; i < 4097; ++i) text += "[[rule]]\nprefix = \"" + std::to_string(i) + "\"\n";
  EXPECT_EQ(ProblemOf(text), "c.toml:8193:1: there are more than 4096 of [[rule]]");
}

TEST(Events, HaveNamesWithoutAConfiguration) {
  const auto names = Read("").event_names;
  EXPECT_THAT(names, AllOf(Contains(Pair("dropped", 1U)), Contains(Pair("rejected", 2U)),
                           Contains(Pair("logged", 3U)), Contains(Pair("accepted", 40U)),
                           Contains(Pair("captured", 60U)), Contains(Pair("port-scan", 20U))));
}

TEST(Events, ANameTakesThePlaceOfTheDefaultOfItsCode) {
  const auto names = Read("[events]\nscanned = 20\n").event_names;
  EXPECT_THAT(names, Contains(Pair("scanned", 20U)));
  EXPECT_THAT(names, Not(Contains(Key("port-scan"))));
}

TEST(Events, ADefaultNameMayMoveToAnotherCode) {
  const auto names = Read("[events]\nport-scan = 700\n").event_names;
  EXPECT_THAT(names, Contains(Pair("port-scan", 700U)));
  for (const auto& [name, code] : names) EXPECT_NE(code, 20U) << name;
}

TEST(Events, OneCodeHasOneName) {
  EXPECT_EQ(ProblemOf("[events]\none = 700\ntwo = 700\n"),
            "c.toml:3:7: two: this event code has the name 'one' already, at c.toml:2:7");
}

TEST(Events, NamesAreWords) {
  constexpr const char* kEnd = "give 1 to 31 lower-case letters, digits and '-', a letter first";
  EXPECT_EQ(ProblemOf("[events]\nPort = 700\n"),
            std::string("c.toml:2:1: \"Port\" in [events]: ") + kEnd);
  EXPECT_EQ(ProblemOf("[events]\n\"a b\" = 700\n"),
            std::string("c.toml:2:1: \"a b\" in [events]: ") + kEnd);
  EXPECT_EQ(ProblemOf("[events]\n7up = 700\n"),
            std::string("c.toml:2:1: \"7up\" in [events]: ") + kEnd);
  EXPECT_EQ(ProblemOf("[events]\n" + std::string(31, 'a') + " = 700\n"), "");
  EXPECT_EQ(ProblemOf("[events]\n" + std::string(32, 'a') + " = 700\n"),
            "c.toml:2:1: \"" + std::string(32, 'a') + "\" in [events]: " + kEnd);
}

TEST(Events, CodesAreThoseOfQueries) {
  EXPECT_EQ(ProblemOf("[events]\nmine = 2000\n"),
            "c.toml:2:8: mine = 2000: that is too large; give a whole number from 1 to 1999, such "
            "as 200");
  EXPECT_EQ(ProblemOf("[events]\nmine = \"20\"\n"),
            "c.toml:2:8: mine = \"20\": give a whole number from 1 to 1999, such as 200");
}

TEST(Events, AreATableThatIsThereOnce) {
  EXPECT_EQ(ProblemOf("[[events]]\nmine = 7\n"),
            "c.toml:1:1: 'events' is there once: write [events]");
  EXPECT_EQ(ProblemOf("events = 7\n"), "c.toml:1:10: 'events' is there once: write [events]");
}

TEST(Flags, HaveTheNamesOfTheDaemonsOwn) {
  EXPECT_EQ(Read("").flag_names, (std::map<std::string, std::uint32_t>{{"in", 1},
                                                                       {"out", 2},
                                                                       {"accepted", 0x10},
                                                                       {"dropped", 0x20},
                                                                       {"rejected", 0x40},
                                                                       {"later-fragment", 0x100}}));
}

TEST(Flags, MayBeNamedFromBit25To31) {
  const auto names = Read("[flags]\nfirst = 25\nlast = 31\n").flag_names;
  EXPECT_THAT(names, Contains(Pair("first", 0x02000000U)));
  EXPECT_THAT(names, Contains(Pair("last", 0x80000000U)));
}

TEST(Flags, OtherBitsAreTaken) {
  const auto problem = [](const std::string& bit, const std::string& why) {
    EXPECT_EQ(ProblemOf("[flags]\nmine = " + bit + "\n"),
              "c.toml:2:8: mine = " + bit + ": " + why +
                  "; give a whole number from 25 to 31, such as 25");
  };
  problem("0", "bits 0 to 8 are the daemon's own");
  problem("8", "bits 0 to 8 are the daemon's own");
  problem("9", "bits 9 to 22 hold the number of the rule");
  problem("22", "bits 9 to 22 hold the number of the rule");
  problem("23", "a query for bit 23 or 24 finds either");
  problem("24", "a query for bit 23 or 24 finds either");
  problem("32", "that is too large");
  problem("-1", "that is too small");
}

TEST(Flags, TheDaemonsOwnKeepTheirNames) {
  EXPECT_EQ(ProblemOf("[flags]\ndropped = 25\n"),
            "c.toml:2:1: \"dropped\" in [flags]: that is a flag of the daemon's own");
}

TEST(Flags, OneBitHasOneName) {
  EXPECT_EQ(ProblemOf("[flags]\none = 25\ntwo = 25\n"),
            "c.toml:3:7: two: this bit has the name 'one' already, at c.toml:2:7");
}

}  // namespace
}  // namespace packetdb::host::test
