#include "host/intake/exclusions.h"

#include <gmock/gmock.h>
#include <stdexcept>

#include "tests/host/intake/support.h"

namespace packetdb::host::test {
namespace {

// From 10.0.0.1:1000 to 10.0.0.2:53 over UDP.
const CDrvErrorItemV4 kEvent = Seen().event.event.item;

int Found(const std::vector<ExclusionSettings>& settings, std::string_view prefix = "p") {
  const Exclusions exclusions(settings);
  return exclusions.Find(exclusions.WithPrefix(prefix), kEvent);
}

bool Fits(const ExclusionSettings& settings) { return Found({settings}) == 0; }

ExclusionSettings OfPorts(std::uint16_t first, std::uint16_t last) {
  ExclusionSettings exclusion;
  exclusion.ports = {{first, last}};
  return exclusion;
}

ExclusionSettings OfAddresses(std::uint32_t first, std::uint32_t last) {
  ExclusionSettings exclusion;
  exclusion.addresses = {{first, last}};
  return exclusion;
}

TEST(AnExclusion, WithoutConditionsFitsEverything) { EXPECT_TRUE(Fits({})); }

TEST(AnExclusion, FitsTheAddressOfEitherEnd) {
  EXPECT_TRUE(Fits(OfAddresses(0x0A000001, 0x0A000001)));
  EXPECT_TRUE(Fits(OfAddresses(0x0A000002, 0x0A0000FF)));
  EXPECT_FALSE(Fits(OfAddresses(0x0A000003, 0x0A0000FF)));
  EXPECT_FALSE(Fits(OfAddresses(0, 0x0A000000)));
  EXPECT_TRUE(Fits(OfAddresses(0, 0xFFFFFFFF)));
}

TEST(AnExclusion, FitsThePortOfEitherEnd) {
  EXPECT_TRUE(Fits(OfPorts(53, 53)));
  EXPECT_TRUE(Fits(OfPorts(1000, 2000)));
  EXPECT_FALSE(Fits(OfPorts(54, 999)));
  EXPECT_TRUE(Fits(OfPorts(0, 65535)));
}

TEST(AnExclusion, FitsItsProtocols) {
  ExclusionSettings exclusion;
  exclusion.protocols = {6, 17};
  EXPECT_TRUE(Fits(exclusion));
  exclusion.protocols = {6, 255};
  EXPECT_FALSE(Fits(exclusion));
}

TEST(AnExclusion, FitsOneOfSeveralRanges) {
  ExclusionSettings exclusion = OfPorts(1, 2);
  exclusion.ports.push_back({50, 60});
  EXPECT_TRUE(Fits(exclusion));
}

TEST(AnExclusion, FitsItsPrefixes) {
  ExclusionSettings exclusion;
  exclusion.prefix = "fw-*";
  EXPECT_EQ(Found({exclusion}, "fw-in"), 0);
  EXPECT_EQ(Found({exclusion}, "in"), Exclusions::kNone);
  EXPECT_EQ(Found({exclusion}, ""), Exclusions::kNone);
}

TEST(AnExclusion, NeedsEveryConditionToHold) {
  ExclusionSettings exclusion = OfPorts(53, 53);
  exclusion.addresses = OfAddresses(0x0A000001, 0x0A000001).addresses;
  EXPECT_TRUE(Fits(exclusion)) << "of whichever end";
  exclusion.protocols = {6};
  EXPECT_FALSE(Fits(exclusion));
}

TEST(Exclusions, AreTriedInTheirOrder) {
  EXPECT_EQ(Found({OfPorts(1, 2), OfPorts(53, 53), OfPorts(53, 53)}), 1);
  EXPECT_EQ(Found({OfPorts(1, 2), OfPorts(3, 4)}), Exclusions::kNone);
  EXPECT_EQ(Found({}), Exclusions::kNone);
}

TEST(Exclusions, AreAsManyAsAConfigurationMayHave) {
  std::vector<ExclusionSettings> settings(kMostExclusions - 1, OfPorts(1, 2));
  settings.push_back(OfPorts(53, 53));
  EXPECT_EQ(Found(settings), static_cast<int>(kMostExclusions) - 1);
  settings.push_back({});
  EXPECT_THROW(Exclusions exclusions(settings), std::invalid_argument);
}

}  // namespace
}  // namespace packetdb::host::test
