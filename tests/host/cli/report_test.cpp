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

TEST(Complaint, LeavesStandardOutputAlone) {
  const Captured output(stdout);
  Complaint("it is late");
  EXPECT_EQ(output.Text(), "");
}

}  // namespace
}  // namespace packetdb::host::test
