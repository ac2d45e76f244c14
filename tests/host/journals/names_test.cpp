#include "host/journals/names.h"

#include <gtest/gtest.h>

namespace packetdb::host::test {
namespace {

const std::string k31Bytes(31, 'a');
const std::string k32Bytes(32, 'a');

TEST(GroupName, MayBeLettersDigitsAndThreeMarks) {
  EXPECT_TRUE(IsGroupName("abcdefghijklmnopqrstuvwxyz"));
  EXPECT_TRUE(IsGroupName("ABCDEFGHIJKLMNOPQRSTUVWXYZ"));
  EXPECT_TRUE(IsGroupName("0123456789"));
  EXPECT_TRUE(IsGroupName("_-."));
  EXPECT_TRUE(IsGroupName("a"));
}

TEST(GroupName, MayNotBeEmpty) { EXPECT_FALSE(IsGroupName("")); }

TEST(GroupName, MayHave31BytesAtMost) {
  EXPECT_TRUE(IsGroupName(k31Bytes));
  EXPECT_FALSE(IsGroupName(k32Bytes));
}

TEST(GroupName, MayNotStartWithADot) {
  EXPECT_FALSE(IsGroupName("."));
  EXPECT_FALSE(IsGroupName(".."));
  EXPECT_FALSE(IsGroupName(".lan"));
  EXPECT_TRUE(IsGroupName("lan."));
}

TEST(GroupName, MayHoldNoOtherByte) {
  for (int byte = 0; byte < 256; ++byte) {
    const char c = static_cast<char>(byte);
    const bool allowed = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
                         (c >= '0' && c <= '9') || c == '_' || c == '-' || c == '.';
    EXPECT_EQ(IsGroupName(std::string("a") + c), allowed) << byte;
  }
}

TEST(InterfaceName, MayHoldAnythingButBlanksSlashesAndControlBytes) {
  for (int byte = 0; byte < 256; ++byte) {
    const bool allowed = byte > 0x20 && byte != 0x7F && byte != '/';
    EXPECT_EQ(IsInterfaceName(std::string(1, static_cast<char>(byte))), allowed) << byte;
  }
}

TEST(InterfaceName, IsRefusedForOneBadByteAnywhere) {
  EXPECT_FALSE(IsInterfaceName(" lan0"));
  EXPECT_FALSE(IsInterfaceName("la/n0"));
  EXPECT_FALSE(IsInterfaceName("lan0\n"));
}

TEST(InterfaceName, Has1To31Bytes) {
  EXPECT_FALSE(IsInterfaceName(""));
  EXPECT_TRUE(IsInterfaceName(k31Bytes));
  EXPECT_FALSE(IsInterfaceName(k32Bytes));
}

TEST(GroupFiles, StandInTheDirectoryUnderTheGroupsName) {
  EXPECT_EQ(JournalPath("/var/lib/x", "lan"), "/var/lib/x/lan.journal");
  EXPECT_EQ(CataloguePath("/var/lib/x", "lan"), "/var/lib/x/lan.group");
}

}  // namespace
}  // namespace packetdb::host::test
