#include "tests/system/support/daemon.h"

#include <gtest/gtest.h>

#include "tests/system/support/eventually.h"
#include "tests/system/support/sanitizer.h"

namespace packetdb::host::test {

namespace {

// The sanitizer's own maps are far beyond any sensible limit.
constexpr bool kLimitsMemory = !PACKETDB_ADDRESS_SANITIZER;

}  // namespace

Program::Arguments ServingArguments(const std::string& directory, const std::string& socket,
                                    const Program::Arguments& options) {
  Program::Arguments all = {"--directory", directory, "--socket", socket};
  if (!kLimitsMemory) {
    all.insert(all.end(), {"--max-memory", "0"});
  }
  all.insert(all.end(), options.begin(), options.end());
  return all;
}

Daemon::Daemon(const std::string& directory, const Program::Arguments& options)
    : place_("pdb socket"),
      socket_(place_.Path("bus")),
      program_(DaemonCommand(ServingArguments(directory, socket_, options))) {
  const bool settled = Eventually(
      [this] { return CountInLog("listening at " + socket_) != 0 || program_.HasEnded(); });
  EXPECT_TRUE(settled && !program_.HasEnded()) << Log();
}

std::size_t Daemon::CountInLog(const std::string& text) const {
  const std::string log = Log();
  std::size_t count = 0;
  for (std::size_t at = log.find(text); at != std::string::npos; at = log.find(text, at + 1)) {
    ++count;
  }
  return count;
}

bool Daemon::LogSays(const std::string& text) const {
  return Eventually([&] { return CountInLog(text) != 0; });
}

bool Daemon::BecomesIdle() const {
  return Eventually([this] { return Children().empty(); });
}

Outcome Daemon::Stop(int signal) {
  program_.Signal(signal);
  return program_.Wait();
}

}  // namespace packetdb::host::test
