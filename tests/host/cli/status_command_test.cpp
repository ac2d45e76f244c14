#include "host/cli/status_command.h"

#include <gtest/gtest.h>

#include "host/cli/usage_error.h"
#include "tests/host/cli/captured.h"
#include "tests/host/journals/support.h"
#include "tests/host/sources/temp_dir.h"

namespace packetdb::host::test {
namespace {

TEST(StatusCommandTest, RefusesAnUnknownOutputFormatBeforeItConnects) {
  const StatusOptions options = {"/nonexistent/bus", "xml", 1};
  for (const auto run : {RunStatus, RunJournals}) {
    EXPECT_EQ(WhatOf<UsageError>([&] { run(options); }),
              "'xml' is not an output format: give table or json");
  }
}

TEST(StatusCommandTest, SaysWhichSocketItCannotReach) {
  const TempDir directory;
  const StatusOptions options = {directory.Path("socket"), "table", 1};
  const Captured output(stdout);
  const Captured errors(stderr);
  EXPECT_EQ(RunStatus(options), kExitUnreachable);
  EXPECT_EQ(output.Text(), "");
  EXPECT_TRUE(errors.Text().starts_with("packetdb: cannot reach packetdbd: ")) << errors.Text();
}

}  // namespace
}  // namespace packetdb::host::test
