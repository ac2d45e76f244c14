#include "host/sources/interface_names.h"

#include <gmock/gmock.h>

namespace packetdb::host::test {
namespace {

TEST(InterfaceNames, IndexIsLookedUp) {
  const InterfaceNames names{.default_name = "lab", .by_index = {{2, "eth0"}}};
  EXPECT_EQ(names.Name(2), "eth0");
}

TEST(InterfaceNames, UnknownIndexIsSpelledOut) {
  const InterfaceNames names{.default_name = "lab", .by_index = {{2, "eth0"}}};
  EXPECT_EQ(names.Name(3), "if3");
  EXPECT_EQ(names.Name(4294967295), "if4294967295");
}

TEST(InterfaceNames, NoIndexIsTheDefaultEvenWhenZeroHasAnEntry) {
  const InterfaceNames names{.default_name = "lab", .by_index = {{0, "zero"}}};
  EXPECT_EQ(names.Name(0), "lab");
}

TEST(InterfaceNames, EmptyEntryIsNone) {
  const InterfaceNames names{.default_name = "lab", .by_index = {{2, ""}, {3, std::string(4, 0)}}};
  EXPECT_EQ(names.Name(2), "if2");
  EXPECT_EQ(names.Name(3), "if3");
}

TEST(InterfaceNames, NamesEndAfter31BytesOrAtANul) {
  const std::string longest(31, 'x');
  const InterfaceNames names{.default_name = longest + "y",
                             .by_index = {{2, longest + "y"}, {3, std::string("a\0b", 3)}}};
  EXPECT_EQ(names.Name(0), longest);
  EXPECT_EQ(names.Name(2), longest);
  EXPECT_EQ(names.Name(3), "a");
}

}  // namespace
}  // namespace packetdb::host::test
