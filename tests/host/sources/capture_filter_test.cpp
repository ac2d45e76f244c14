#include "host/sources/capture_filter.h"

#include <gmock/gmock.h>

namespace packetdb::host::test {
namespace {

using testing::HasSubstr;
using testing::Optional;

TEST(CaptureFilterText, IsWhatPcapFilterKnows) {
  EXPECT_EQ(WhyNotCaptureFilter("tcp port 443 and not host 10.0.0.7"), std::nullopt);
  EXPECT_EQ(WhyNotCaptureFilter(""), std::nullopt);
}

TEST(CaptureFilterText, MayHaveWordsOfOneLinkTypeOnly) {
  EXPECT_EQ(WhyNotCaptureFilter("ether broadcast"), std::nullopt);
  EXPECT_EQ(WhyNotCaptureFilter("inbound"), std::nullopt);
  EXPECT_EQ(WhyNotCaptureFilter("ifindex 1"), std::nullopt);
}

TEST(CaptureFilterText, IsRefusedInLibpcapsWords) {
  EXPECT_THAT(WhyNotCaptureFilter("tcp and and"), Optional(HasSubstr("syntax error")));
  EXPECT_THAT(WhyNotCaptureFilter("port 70000"), Optional(HasSubstr("70000")));
}

}  // namespace
}  // namespace packetdb::host::test
