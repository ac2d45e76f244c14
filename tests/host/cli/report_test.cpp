#include "host/cli/report.h"

#include <gtest/gtest.h>

#include "tests/host/cli/captured.h"

namespace packetdb::host::test {
namespace {

std::string Complaint(std::string_view text) {
  const Captured errors(stderr);
  Complain(text);
  return errors.Text();
}

TEST(Complaint, IsALineOnStandardErrorWithTheProgramsName) {
  EXPECT_EQ(Complaint("it is late"), "packetdb: it is late\n");
}

TEST(Complaint, StaysOneLineWhateverItQuotes) {
  EXPECT_EQ(Complaint("no file a\nb\x1b[2J"), "packetdb: no file a\\x0ab\\x1b[2J\n");
}

TEST(Shortened, LeavesTheMiddleOfALongTextOut) {
  EXPECT_EQ(Shortened(std::string(4096, 'x')), std::string(4096, 'x'));
  const std::string text = std::string(2000, 'a') + std::string(2097, 'b');
  EXPECT_EQ(Shortened(text),
            std::string(200, 'a') + " (cut: 3697 bytes more) " + std::string(200, 'b'));
}

TEST(Complaint, LeavesStandardOutputAlone) {
  const Captured output(stdout);
  Complaint("it is late");
  EXPECT_EQ(output.Text(), "");
}

}  // namespace
}  // namespace packetdb::host::test
