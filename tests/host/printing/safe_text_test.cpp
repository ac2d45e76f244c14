#include "host/printing/safe_text.h"

#include <gmock/gmock.h>

namespace packetdb::host::test {
namespace {

std::string Safe(std::string_view text) {
  std::string safe;
  AppendSafe(text, &safe);
  return safe;
}

std::string Json(std::string_view text) {
  std::string json;
  AppendJsonString(text, &json);
  return json;
}

TEST(SafeTexts, StayAsTheyAreWhenTheyAreHarmless) {
  for (const char* text : {"", "pdb:input:telnet:drop", "a \"b\" c", "größe", "日本", "😀"}) {
    EXPECT_EQ(Safe(text), text);
  }
}

TEST(SafeTexts, EscapeWhatMovesATerminal) {
  EXPECT_EQ(Safe("a\tb\nc\\d"), "a\\tb\\nc\\\\d");
  EXPECT_EQ(Safe("\x1b[31m\x7f\r"), "\\x1b[31m\\x7f\\x0d");
  EXPECT_EQ(Safe("\xc2\x9b"
                 "2J"),
            "\\xc2\\x9b2J")
      << "the same as a character of its own";
  EXPECT_EQ(Safe("\xe2\x80\xae"), "\\xe2\\x80\\xae") << "turns what follows";
  EXPECT_EQ(Safe(std::string_view("\0", 1)), "\\x00");
}

TEST(SafeTexts, EscapeBytesThatAreNoUtf8) {
  EXPECT_EQ(Safe("\xff"), "\\xff");
  EXPECT_EQ(Safe("\xc3"), "\\xc3") << "cut";
  EXPECT_EQ(Safe("\xc3("), "\\xc3(");
  EXPECT_EQ(Safe("\xc0\x8a"), "\\xc0\\x8a") << "longer than need be";
  EXPECT_EQ(Safe("\xe0\x80\x8a"), "\\xe0\\x80\\x8a") << "longer than need be";
  EXPECT_EQ(Safe("\xed\xa0\x80"), "\\xed\\xa0\\x80") << "half of a pair";
  EXPECT_EQ(Safe("\xf4\x90\x80\x80"), "\\xf4\\x90\\x80\\x80") << "beyond the last";
}

TEST(SafeTexts, LetNothingThroughWhateverComesIn) {
  std::string two(2, '\0');
  for (int value = 0; value < 65536; ++value) {
    two[0] = static_cast<char>(value >> 8);
    two[1] = static_cast<char>(value);
    for (const char c : Safe(two)) {
      ASSERT_TRUE(static_cast<unsigned char>(c) >= 0x20 && c != 0x7f) << value;
    }
  }
}

TEST(JsonStrings, EscapeTheSame) {
  EXPECT_EQ(Json("a\"b\\c\t\n\x01\x7f"), R"("a\"b\\c\t\n\u0001\u007f")");
  EXPECT_EQ(Json("\xc2\x9b\xe2\x80\xae"), R"("\u009b\u202e")");
  EXPECT_EQ(Json("a\xff"
                 "b"),
            "\"a\xef\xbf\xbd"
            "b\"");
  EXPECT_EQ(Json("größe"), "\"größe\"");
}

TEST(SafeTexts, AreCutBetweenCharacters) {
  EXPECT_EQ(CutTo(5, "größe"), "größe");
  EXPECT_EQ(CutTo(4, "größe"), "grö…");
  EXPECT_EQ(CutTo(3, "größe"), "gr…");
  EXPECT_EQ(CutTo(1, "größe"), "…");
  EXPECT_EQ(WidthOf("größe"), 5U);
}

}  // namespace
}  // namespace packetdb::host::test
