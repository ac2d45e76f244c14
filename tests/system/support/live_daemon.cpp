#include "tests/system/support/live_daemon.h"

#include <csignal>
#include <filesystem>
#include <gtest/gtest.h>
#include <stdexcept>

#include "tests/system/support/daemon.h"
#include "tests/system/support/eventually.h"
#include "tests/system/support/sanitizer.h"

namespace packetdb::host::test {

namespace {

// The shell gives itself, and so the daemon, the number that is to be in LISTEN_PID.
Program::Arguments StartArguments(const LiveNetwork& network, const DaemonPlace& place,
                                  const LiveDaemonOptions& options) {
  Program::Arguments arguments = {"/usr/bin/env"};
  arguments.insert(arguments.end(), options.variables.begin(), options.variables.end());
  std::string script = "exec \"$0\" \"$@\"";
  if (!options.descriptors.empty()) {
    std::string names;
    for (const std::string& name : options.descriptor_names) {
      names += (names.empty() ? "" : ":") + name;
    }
    arguments.push_back("LISTEN_FDS=" + std::to_string(options.descriptors.size()));
    arguments.push_back("LISTEN_FDNAMES=" + names);
    script = "LISTEN_PID=$$ " + script;
  }
  arguments.insert(arguments.end(), {"/bin/sh", "-c", script});
  for (const std::string& argument : DaemonCommand({"--config", place.config()})) {
    arguments.push_back(argument);
  }
  return network.Inside(arguments);
}

ProgramOptions WithDescriptors(const std::vector<int>& descriptors) {
  ProgramOptions options;
  options.descriptors = descriptors;
  return options;
}

}  // namespace

DaemonPlace::DaemonPlace() : place_("pdb live") {
  std::filesystem::create_directory(journals());
  Configure("");
}

void DaemonPlace::Configure(const std::string& more) const {
  const std::string memory = PACKETDB_ADDRESS_SANITIZER ? "memory = '0B'\n" : "";
  place_.File("packetdb.toml", "directory = '" + journals() + "'\n[socket]\npath = '" + socket() +
                                   "'\n[limits]\nconnections_per_user = 4096\n" + memory +
                                   "[metrics]\nsocket = '" + metrics() + "'\n" + more);
}

LiveDaemon::LiveDaemon(const LiveNetwork& network, const DaemonPlace& place,
                       const LiveDaemonOptions& options)
    : program_(StartArguments(network, place, options), WithDescriptors(options.descriptors)) {
  const bool settled =
      Eventually([this] { return CountInLog("listening at ") != 0 || program_.HasEnded(); });
  if (!settled || program_.HasEnded()) {
    throw std::runtime_error("the daemon does not start: " + Log());
  }
}

pid_t LiveDaemon::Intake() const { return ChildNamed(program_.pid(), "packetdb-intake"); }

pid_t LiveDaemon::Queries() const { return ChildNamed(program_.pid(), "packetdb-query"); }

void LiveDaemon::SignalIntake(int signal) const {
  SignalChildNamed(program_.pid(), "packetdb-intake", signal);
}

void LiveDaemon::SignalQueries(int signal) const {
  SignalChildNamed(program_.pid(), "packetdb-query", signal);
}

std::size_t LiveDaemon::CountInLog(const std::string& text) const {
  const std::string log = Log();
  std::size_t count = 0;
  for (std::size_t at = log.find(text); at != std::string::npos; at = log.find(text, at + 1)) {
    ++count;
  }
  return count;
}

bool LiveDaemon::LogSays(const std::string& text) const {
  return Eventually([&] { return CountInLog(text) != 0; });
}

Outcome LiveDaemon::Stop() {
  program_.Signal(SIGTERM);
  return program_.Wait();
}

Sums Journaled(const DaemonPlace& place) { return SumsOf(AskByCommand(place.socket(), {"all"})); }

bool EverythingIsJournaled(const LiveNetwork& network, const DaemonPlace& place) {
  const Sums counted = network.Counted();
  const bool equal = Eventually([&] { return Journaled(place) == counted; });
  EXPECT_EQ(Journaled(place), counted);
  return equal;
}

}  // namespace packetdb::host::test
