#include "host/cli/text_table.h"

#include <gtest/gtest.h>

#include "tests/host/cli/captured.h"

namespace packetdb::host::test {
namespace {

std::string Shown(const TextTable& table) {
  return Printed([&](std::FILE* out) { table.Print(out); });
}

TEST(TextTableTest, IsAsWideAsWhatItHolds) {
  TextTable table({{"NAME"}, {"COUNT", true}, {"LAST"}});
  table.Add({"a", "1", "x"});
  table.Add({"longer", "1234567", "yy"});
  EXPECT_EQ(Shown(table),
            "NAME      COUNT  LAST\n"
            "a             1  x\n"
            "longer  1234567  yy\n");
}

TEST(TextTableTest, ShowsItsHeadWhenItIsEmpty) {
  const TextTable table({{"NAME"}, {"COUNT", true}});
  EXPECT_TRUE(table.empty());
  EXPECT_EQ(Shown(table), "NAME  COUNT\n");
}

}  // namespace
}  // namespace packetdb::host::test
