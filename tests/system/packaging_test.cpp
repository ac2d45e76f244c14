// The units by which systemd runs the daemon, as systemd itself judges them.
#include <filesystem>
#include <gmock/gmock.h>

#include "tests/system/support/exit_codes.h"
#include "tests/system/support/program.h"
#include "tests/system/support/temporary_directory.h"

namespace packetdb::host::test {
namespace {

constexpr char kAnalyze[] = "/usr/bin/systemd-analyze";

std::string Unit(const std::string& name) { return PACKETDB_PACKAGING "/systemd/" + name; }

// In tenths: 15 is 1.5 of 10, where 10 is fully exposed.
Outcome Exposure(const std::string& unit, int most) {
  return Program({kAnalyze, "security", "--offline=true", "--no-pager",
                  "--threshold=" + std::to_string(most), unit})
      .Wait();
}

TEST(PackagingTest, ServiceIsHardlyExposed) {
  const Outcome outcome = Exposure(Unit("packetdbd.service"), 15);
  EXPECT_EQ(outcome.status, 0) << outcome.out << outcome.err;
}

TEST(PackagingTest, ServiceThatCapturesInterfacesIsHardlyMoreExposed) {
  const TemporaryDirectory place;
  std::filesystem::create_directory(place.Path("packetdbd.service.d"));
  std::filesystem::copy(Unit("capture.conf"), place.Path("packetdbd.service.d/capture.conf"));
  std::filesystem::copy(Unit("packetdbd.service"), place.Path("packetdbd.service"));
  const Outcome outcome = Exposure(place.Path("packetdbd.service"), 15);
  EXPECT_EQ(outcome.status, 0) << outcome.out << outcome.err;
}

// At boot the service comes before the network, and ends where its interface is not up yet.
TEST(PackagingTest, ServiceThatCapturesInterfacesIsStartedUntilTheyAreUp) {
  EXPECT_THAT(ReadFile(Unit("capture.conf")), testing::HasSubstr("\nStartLimitIntervalSec=0\n"));
  const std::string service = ReadFile(Unit("packetdbd.service"));
  EXPECT_THAT(service, testing::HasSubstr("\nRestart=on-failure\nRestartSec=1s\n"));
  const std::string mistaken = "\nRestartPreventExitStatus=" + std::to_string(kExitUsage) + "\n";
  EXPECT_THAT(service, testing::HasSubstr(mistaken)) << "what no restart mends";
}

// What is to be seen fails where it should: a unit without any protection is exposed.
TEST(PackagingTest, ExposureIsNoticed) {
  const TemporaryDirectory place;
  const std::string bare = place.File("bare.service", "[Service]\nExecStart=/bin/true\n");
  EXPECT_NE(Exposure(bare, 15).status, 0);
}

// systemd looks for the program, which is not installed here.
TEST(PackagingTest, UnitsAreWhatSystemdUnderstands) {
  const TemporaryDirectory place;
  std::string service = ReadFile(Unit("packetdbd.service"));
  const std::string installed = "/usr/sbin/packetdbd";
  ASSERT_NE(service.find(installed), std::string::npos);
  service.replace(service.find(installed), installed.size(), "\"" + DaemonPath() + "\"");
  Program::Arguments arguments = {kAnalyze, "verify", "--man=no", "--recursive-errors=no",
                                  place.File("packetdbd.service", service)};
  for (const char* name : {"packetdb.socket", "packetdb-metrics.socket"}) {
    arguments.push_back(place.File(name, ReadFile(Unit(name))));
  }
  const Outcome outcome = Program(arguments).Wait();
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.err, "");
}

}  // namespace
}  // namespace packetdb::host::test
