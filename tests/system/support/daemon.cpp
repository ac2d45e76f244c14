#include "tests/system/support/daemon.h"

#include <csignal>
#include <fstream>
#include <gtest/gtest.h>

#include "tests/system/support/eventually.h"
#include "tests/system/support/sanitizer.h"

namespace packetdb::host::test {

namespace {

// The sanitizer's own maps are far beyond any sensible limit.
constexpr bool kLimitsMemory = !PACKETDB_ADDRESS_SANITIZER;

}  // namespace

std::string ServingConfiguration() { return PACKETDB_SERVING_CONFIGURATION; }

Program::Arguments ServingArguments(const std::string& directory, const std::string& socket,
                                    const Program::Arguments& options, const std::string& config) {
  Program::Arguments all = {"--serve-only", "--config",         config,
                            "--directory",  directory,          "--socket",
                            socket,         "--metrics-socket", ""};
  if (!kLimitsMemory) {
    all.insert(all.end(), {"--max-memory", "0"});
  }
  all.insert(all.end(), options.begin(), options.end());
  return all;
}

Daemon::Daemon(const std::string& directory, const Program::Arguments& options)
    : Daemon(directory, options, ServingConfiguration()) {}

Daemon::Daemon(const std::string& directory, const Program::Arguments& options,
               const std::string& config)
    : place_("pdb socket"),
      socket_(place_.Path("bus")),
      program_(DaemonCommand(ServingArguments(directory, socket_, options, config))) {
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

std::vector<pid_t> Daemon::Children() const {
  std::vector<pid_t> connections;
  for (const pid_t child : ChildrenOf(program_.pid())) {
    const std::vector<pid_t> of_child = ChildrenOf(child);
    connections.insert(connections.end(), of_child.begin(), of_child.end());
  }
  return connections;
}

pid_t ChildNamed(pid_t parent, const std::string& name) {
  for (const pid_t child : ChildrenOf(parent)) {
    std::ifstream file("/proc/" + std::to_string(child) + "/comm");
    std::string shown;
    if (std::getline(file, shown) && shown == name) {
      return child;
    }
  }
  return 0;
}

void SignalChildNamed(pid_t parent, const std::string& name, int signal) {
  const pid_t child = ChildNamed(parent, name);
  if (child <= 0 || kill(child, signal) != 0) {
    throw std::runtime_error("there is no process " + name);
  }
}

bool Daemon::BecomesIdle() const {
  return Eventually([this] { return Children().empty(); });
}

Outcome Daemon::Stop(int signal) {
  program_.Signal(signal);
  return program_.Wait();
}

}  // namespace packetdb::host::test
