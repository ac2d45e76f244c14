// What the command line says besides the configuration.
#include "host/daemon/options.h"

#include <gtest/gtest.h>
#include <vector>

namespace packetdb::host {
namespace {

DaemonOptions Parse(std::vector<std::string> arguments) {
  arguments.insert(arguments.begin(), "packetdbd");
  std::vector<char*> pointers;
  for (std::string& argument : arguments) {
    pointers.push_back(argument.data());
  }
  DaemonOptions options;
  EXPECT_TRUE(ParseOptions(static_cast<int>(pointers.size()), pointers.data(), &options));
  return options;
}

TEST(OptionsTest, NothingGivenChangesNothing) {
  Configuration configuration;
  configuration.directory = "/journals";
  configuration.limits.idle_seconds = 5;
  configuration.log_groups.emplace_back();
  Override(Parse({}), &configuration);
  EXPECT_EQ(configuration.directory, "/journals");
  EXPECT_EQ(configuration.limits.idle_seconds, 5);
  EXPECT_EQ(configuration.log_groups.size(), 1u);
}

TEST(OptionsTest, WhatIsGivenTakesThePlaceOfWhatIsConfigured) {
  Configuration configuration;
  Override(Parse({"-d", "/d", "-s", "/s", "--socket-mode", "0600", "--metrics-socket", "",
                  "--max-connections", "3", "--idle-timeout", "4", "--max-memory", "5",
                  "--log-target", "journal", "--log-level", "1"}),
           &configuration);
  EXPECT_EQ(configuration.directory, "/d");
  EXPECT_EQ(configuration.socket.path, "/s");
  EXPECT_EQ(configuration.socket.mode, 0600u);
  EXPECT_EQ(configuration.metrics.socket, "");
  EXPECT_EQ(configuration.limits.connections, 3);
  EXPECT_EQ(configuration.limits.idle_seconds, 4);
  EXPECT_EQ(configuration.limits.memory_mib, 5);
  EXPECT_EQ(configuration.log.target, LogTarget::kJournal);
  EXPECT_EQ(configuration.log.level, 1);
  EXPECT_EQ(configuration.log.program, "packetdbd");
}

TEST(OptionsTest, ServingOnlyTakesNothingIn) {
  Configuration configuration;
  configuration.log_groups.emplace_back();
  configuration.captures.emplace_back();
  Override(Parse({"--serve-only"}), &configuration);
  EXPECT_TRUE(configuration.log_groups.empty());
  EXPECT_TRUE(configuration.captures.empty());
}

}  // namespace
}  // namespace packetdb::host
