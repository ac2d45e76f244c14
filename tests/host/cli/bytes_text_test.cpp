#include "host/cli/bytes_text.h"

#include <gtest/gtest.h>

namespace packetdb::host::test {
namespace {

TEST(BytesTextTest, IsExactAndReadable) {
  EXPECT_EQ(BytesText(0), "0");
  EXPECT_EQ(BytesText(1023), "1023");
  EXPECT_EQ(BytesText(1024), "1024 (1.0 KiB)");
  EXPECT_EQ(BytesText(90681344), "90681344 (86.5 MiB)");
  EXPECT_EQ(BytesText(~std::uint64_t{0}), "18446744073709551615 (16.0 EiB)");
}

}  // namespace
}  // namespace packetdb::host::test
