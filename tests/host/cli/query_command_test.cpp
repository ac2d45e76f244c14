#include "host/cli/query_command.h"

#include <gtest/gtest.h>

#include "host/cli/usage_error.h"
#include "tests/host/cli/captured.h"
#include "tests/host/journals/support.h"
#include "tests/host/sources/temp_dir.h"

namespace packetdb::host::test {
namespace {

class QueryCommand : public testing::Test {
 protected:
  QueryCommand() { options_.origin.socket = directory_.Path("socket"); }

  const TempDir directory_;
  QueryOptions options_;
};

TEST_F(QueryCommand, RefusesAnUnknownOutputFormatBeforeItConnects) {
  options_.print.output = "xml";
  EXPECT_THROW(RunQuery(options_), UsageError);
}

TEST_F(QueryCommand, RefusesBadCriteriaBeforeItConnects) {
  options_.question.criteria.limit = "none";
  EXPECT_THROW(RunQuery(options_), UsageError);
}

TEST_F(QueryCommand, SaysWhichSocketItCannotReach) {
  const Captured output(stdout);
  const Captured errors(stderr);
  EXPECT_EQ(RunQuery(options_), kExitUnreachable);
  EXPECT_EQ(output.Text(), "");
  EXPECT_TRUE(errors.Text().starts_with("packetdb: cannot reach packetdbd: ")) << errors.Text();
  EXPECT_TRUE(
      errors.Text().ends_with("; is it running with --socket " + options_.origin.socket + "?\n"))
      << errors.Text();
}

}  // namespace
}  // namespace packetdb::host::test
