#include "host/expression/error.h"

#include <gmock/gmock.h>

namespace packetdb::host::expression::test {
namespace {

using testing::EndsWith;
using testing::HasSubstr;

TEST(ExpressionError, IsShownInThreeLinesWithTheMarkBelowThePlace) {
  const ExpressionError error(11, 3, "'prt' is no word here", "and, or, or the end", "port");
  EXPECT_EQ(Render("src host A prt 22", error, "packetdb query"),
            "packetdb query: column 12: 'prt' is no word here\n"
            "  src host A prt 22\n"
            "             ^~~ expected and, or, or the end; did you mean port?\n");
}

TEST(ExpressionError, CountsCharactersAndNotBytes) {
  const ExpressionError error(8, 3, "m", "e");
  const std::string text = "\xC3\xA4\xC3\xB6\xC3\xBC: x\xC3\xBC";
  EXPECT_EQ(Render(text, error, "p"), "p: column 6: m\n  " + text + "\n       ^~ expected e\n");
}

TEST(ExpressionError, ShowsWhatIsAroundThePlaceInALongExpression) {
  const std::string text = std::string(100, 'a') + "XYZ" + std::string(100, 'b');
  EXPECT_EQ(Render(text, ExpressionError(100, 3, "m", "e"), "p"),
            "p: column 101: m\n  ..." + std::string(40, 'a') + "XYZ" + std::string(29, 'b') +
                "...\n" + std::string(45, ' ') + "^~~ expected e\n");
}

TEST(ExpressionError, KeepsControlCharactersOffTheTerminal) {
  const std::string shown = Render("a\x1B[2J\nb", ExpressionError(0, 1, "m\n", "e"), "p");
  EXPECT_THAT(shown, HasSubstr("p: column 1: m?\n  a?[2J?b\n"));
}

TEST(ExpressionError, MarksTheEndWhereSomethingIsMissing) {
  EXPECT_THAT(Render("port", ExpressionError(4, 0, "m", "e"), "p"),
              EndsWith("  port\n      ^ expected e\n"));
}

TEST(ExpressionError, MarksNoMoreThanIsShown) {
  const std::string shown = Render(std::string(500, 'a'), ExpressionError(0, 500, "m", "e"), "p");
  EXPECT_THAT(shown, EndsWith("\n  ^" + std::string(31, '~') + " expected e\n"));
}

}  // namespace
}  // namespace packetdb::host::expression::test
