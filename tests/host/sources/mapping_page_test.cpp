// The page that explains the mapping says what the code does.
#include <fstream>
#include <gmock/gmock.h>
#include <sstream>
#include <string>

#include "host/sources/counters.h"
#include "host/sources/event.h"

namespace packetdb::host::test {
namespace {

using testing::HasSubstr;

std::string Page() {
  const std::ifstream file(PACKETDB_EVENT_MAPPING_PAGE);
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

std::string HexRow(std::uint32_t value, const std::string& name) {
  std::ostringstream row;
  row << "| 0x" << std::hex << value << " | " << name << " |";
  return row.str();
}

std::string Row(std::uint32_t value, const std::string& name) {
  return "| " + std::to_string(value) + " | " + name + " |";
}

TEST(MappingPage, ListsEveryFlag) {
  const std::string page = Page();
  EXPECT_THAT(page, HasSubstr(HexRow(kFlagIn, "in")));
  EXPECT_THAT(page, HasSubstr(HexRow(kFlagOut, "out")));
  EXPECT_THAT(page, HasSubstr(HexRow(kFlagAccepted, "accepted")));
  EXPECT_THAT(page, HasSubstr(HexRow(kFlagDropped, "dropped")));
  EXPECT_THAT(page, HasSubstr(HexRow(kFlagRejected, "rejected")));
  EXPECT_THAT(page, HasSubstr(HexRow(kFlagLaterFragment, "later fragment")));
}

TEST(MappingPage, ListsEveryCode) {
  const std::string page = Page();
  EXPECT_THAT(page, HasSubstr(Row(kCodeDropped, "dropped")));
  EXPECT_THAT(page, HasSubstr(Row(kCodeRejected, "rejected")));
  EXPECT_THAT(page, HasSubstr(Row(kCodeLogged, "logged")));
  EXPECT_THAT(page, HasSubstr(Row(kCodeAccepted, "accepted")));
  EXPECT_THAT(page, HasSubstr(Row(kCodeCaptured, "captured")));
}

TEST(MappingPage, ListsEveryReasonAndRemark) {
  const std::string page = Page();
  for (std::size_t i = 0; i < kSkipReasons; ++i) {
    EXPECT_THAT(page, HasSubstr("| " + std::string(Text(static_cast<SkipReason>(i))) + " |"));
  }
  for (std::size_t i = 0; i < kRemarks; ++i) {
    EXPECT_THAT(page, HasSubstr("| " + std::string(Text(static_cast<Remark>(i))) + " |"));
  }
}

}  // namespace
}  // namespace packetdb::host::test
