#include "host/summary/key_fields.h"

#include <gmock/gmock.h>

#include "host/printing/options.h"

namespace packetdb::host::test {
namespace {

using testing::ElementsAre;

std::vector<std::string> ParsedNames(std::string_view list) {
  std::vector<std::string> names;
  for (const KeyField* field : ParseKeyFields(list)) names.emplace_back(field->name);
  return names;
}

std::string RefusalOf(std::string_view list) {
  try {
    ParseKeyFields(list);
  } catch (const PrintError& error) {
    return error.what();
  }
  return "none";
}

TEST(KeyFieldsTest, AreTakenInTheOrderInWhichTheyAreNamed) {
  EXPECT_THAT(ParsedNames("dst,src,iface"), ElementsAre("dst", "src", "iface"));
}

TEST(KeyFieldsTest, PortsGoByTheNamesOfOtherTools) {
  EXPECT_THAT(ParsedNames("sport,dport"), ElementsAre("src_port", "dst_port"));
  EXPECT_THAT(ParsedNames("srcport,dstport"), ElementsAre("src_port", "dst_port"));
}

TEST(KeyFieldsTest, AnUnknownOneIsRefusedWithTheNearest) {
  EXPECT_EQ(RefusalOf("src,dst_prt"), "there is no field 'dst_prt': did you mean dst_port?");
  EXPECT_EQ(RefusalOf("count"),
            "there is no field 'count': fields are verdict, dir, proto, src, src_port, src_node, "
            "dst, dst_port, dst_node, event, flags, rule, iface");
}

TEST(KeyFieldsTest, NoneAndOneThatIsThereTwiceAreRefused) {
  EXPECT_TRUE(RefusalOf("").starts_with("there is no field ''")) << RefusalOf("");
  EXPECT_TRUE(RefusalOf("src,").starts_with("there is no field ''")) << RefusalOf("src,");
  EXPECT_EQ(RefusalOf("dport,src,dst_port"), "the field 'dst_port' is there twice: name it once");
}

}  // namespace
}  // namespace packetdb::host::test
