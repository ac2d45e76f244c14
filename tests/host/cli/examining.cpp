#include "tests/host/cli/examining.h"

#include <cstdio>
#include <sstream>

#include "tests/host/cli/captured.h"

namespace packetdb::host::test {

Ran Observe(const std::function<ExitCode()>& command) {
  const Captured output(stdout);
  const Captured errors(stderr);
  Ran ran;
  ran.status = command();
  ran.out = output.Text();
  ran.err = errors.Text();
  return ran;
}

std::vector<nlohmann::json> ParseLines(const std::string& text) {
  std::vector<nlohmann::json> values;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    values.push_back(nlohmann::json::parse(line));
  }
  return values;
}

}  // namespace packetdb::host::test
