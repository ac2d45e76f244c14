// What is said of a configuration that is checked.
#include "host/config/check.h"

#include <fstream>
#include <gmock/gmock.h>

#include "tests/host/config/support.h"
#include "tests/host/sources/temp_dir.h"

namespace packetdb::host::test {
namespace {

using testing::ElementsAre;

TEST(Check, SumsUpWhatIsRight) {
  EXPECT_EQ(SumUp(Read("")), "1 log group, 1 journal");
  EXPECT_EQ(SumUp(Read("intake = false\n")), "nothing is read, 1 journal");
  EXPECT_EQ(SumUp(Read("[[capture]]\ninterface = \"a\"\n[[rule]]\nprefix = \"a\"\n[[rule]]\n"
                       "prefix = \"b\"\n[[exclusion]]\nname = \"x\"\nports = [53]\n")),
            "1 capture, 1 journal, 2 rules, 1 exclusion");
  EXPECT_EQ(SumUp(ReadNodes("[[node]]\nnetwork = \"10.0.0.0/8\"\nid = 1\nname = \"a\"\n")),
            "1 log group, 1 journal, 1 network of a node");
}

TEST(Check, SaysThatAllIsRight) {
  const TempDir directory;
  const std::string path = directory.Path("c.toml");
  std::ofstream(path) << "[limits]\nrows = 5\n";
  const ConfigurationCheck check = CheckConfiguration({path, true}, SmallSystem());
  EXPECT_TRUE(check.is_right);
  EXPECT_THAT(check.lines,
              ElementsAre(path + ": the configuration is right: 1 log group, 1 journal"));
}

TEST(Check, SaysEverythingThatIsWrongInLinesThatCannotBeForged) {
  const TempDir directory;
  const std::string path = directory.Path("c\n.toml");
  std::ofstream(path) << "[limits]\nrows = -1\ncolumns = 0\n";
  const ConfigurationCheck check = CheckConfiguration({path, true}, SmallSystem());
  EXPECT_FALSE(check.is_right);
  ASSERT_EQ(check.lines.size(), 2U);
  EXPECT_THAT(check.lines[0],
              testing::StartsWith(directory.Path("c\\x0a.toml") + ":2:8: rows = -1"));
  EXPECT_THAT(check.lines[1],
              testing::StartsWith(directory.Path("c\\x0a.toml") + ":3:11: columns = 0"));
}

}  // namespace
}  // namespace packetdb::host::test
