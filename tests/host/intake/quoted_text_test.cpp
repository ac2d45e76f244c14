#include "host/intake/quoted_text.h"

#include <gmock/gmock.h>

namespace packetdb::host::test {
namespace {

std::string Taken(std::string_view text) {
  const std::optional<std::string> taken = TakeQuotedText(text);
  return taken ? *taken + "|" + std::string(text) : "nothing";
}

TEST(QuotedText, IsAsItWasWherePrintable) {
  EXPECT_EQ(QuoteText("drop in: 12"), "\"drop in: 12\"");
  EXPECT_EQ(QuoteText(""), "\"\"");
}

TEST(QuotedText, HasEverythingElseEscaped) {
  EXPECT_EQ(QuoteText(std::string_view("a\"\\\n\0\x7f\xc3", 7)), R"("a\x22\x5c\x0a\x00\x7f\xc3")");
}

TEST(QuotedText, OfAnyBytesComesBack) {
  std::string all;
  for (int byte = 0; byte < 256; ++byte) all += static_cast<char>(byte);
  const std::string quoted = QuoteText(all);
  std::string_view rest = quoted;
  EXPECT_EQ(TakeQuotedText(rest), all);
  EXPECT_EQ(rest, "");
}

TEST(QuotedText, LeavesWhatIsBehindIt) { EXPECT_EQ(Taken("\"a b\" \"c\""), "a b| \"c\""); }

TEST(QuotedText, IsTakenAsItIsWrittenAndNotOtherwise) {
  for (const char* text : {"", "a", "\"", "\"a", "\"\\x\"", "\"\\x4", "\"\\x4\"", "\"\\xg0\"",
                           "\"\\x0A\"", "\"\\x41\"", "\"\t\"", "\"\\n\""}) {
    EXPECT_EQ(Taken(text), "nothing") << text;
  }
}

}  // namespace
}  // namespace packetdb::host::test
