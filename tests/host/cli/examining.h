// Runs the commands that look at a journal file.
#pragma once

#include <functional>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "host/cli/exit_code.h"
#include "tests/host/cli/stored_journal.h"
#include "tests/host/sources/temp_dir.h"
#include "tests/host/times/time_zone.h"

namespace packetdb::host::test {

// What a command returned and printed.
struct Ran {
  ExitCode status = kExitOk;
  std::string out;
  std::string err;
};

Ran Observe(const std::function<ExitCode()>& command);

// One value per line.
std::vector<nlohmann::json> ParseLines(const std::string& text);

class Examining : public testing::Test {
 protected:
  Examining() : path_(directory_.Path("my.journal")), zone_("UTC") {}

  const TempDir directory_;
  const std::string path_;

 private:
  const TimeZone zone_;
};

}  // namespace packetdb::host::test
