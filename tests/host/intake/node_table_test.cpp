#include "host/intake/node_table.h"

#include <gmock/gmock.h>
#include <map>
#include <random>

#include "host/intake/node_memo.h"

namespace packetdb::host::test {
namespace {

NodeSettings Network(std::uint32_t network, int prefix_length, std::uint32_t id) {
  NodeSettings node;
  node.network = network;
  node.prefix_length = static_cast<std::uint8_t>(prefix_length);
  node.id = id;
  return node;
}

std::uint32_t MaskOf(int prefix_length) {
  return prefix_length == 0 ? 0 : 0xFFFFFFFFU << (32 - prefix_length);
}

TEST(ANodeTable, WithoutNetworksKnowsNoNode) {
  for (const std::uint32_t address : {0U, 0x0A000001U, 0xFFFFFFFFU}) {
    EXPECT_EQ(NodeTable().Find(address), 0U);
  }
}

TEST(ANodeTable, FindsTheSmallestNetworkAround) {
  const NodeTable table({Network(0x0A010200, 24, 3), Network(0x0A000000, 8, 1),
                         Network(0x0A010203, 32, 4), Network(0x0A010000, 16, 2)});
  EXPECT_EQ(table.Find(0x09FFFFFF), 0U);
  EXPECT_EQ(table.Find(0x0A000000), 1U);
  EXPECT_EQ(table.Find(0x0A010000), 2U);
  EXPECT_EQ(table.Find(0x0A0102FF), 3U);
  EXPECT_EQ(table.Find(0x0A010203), 4U);
  EXPECT_EQ(table.Find(0x0A010204), 3U);
  EXPECT_EQ(table.Find(0x0A010300), 2U);
  EXPECT_EQ(table.Find(0x0AFFFFFF), 1U);
  EXPECT_EQ(table.Find(0x0B000000), 0U);
}

TEST(ANodeTable, MayHaveOneNetworkForAllAddresses) {
  const NodeTable table({Network(0, 0, 7), Network(0xFFFFFFFF, 32, 8), Network(0, 32, 9)});
  EXPECT_EQ(table.Find(0), 9U);
  EXPECT_EQ(table.Find(1), 7U);
  EXPECT_EQ(table.Find(0xFFFFFFFE), 7U);
  EXPECT_EQ(table.Find(0xFFFFFFFF), 8U);
}

TEST(ANodeTable, KeepsNeighboursApart) {
  const NodeTable table({Network(0xC0A80000, 25, 1), Network(0xC0A80080, 25, 2)});
  EXPECT_EQ(table.Find(0xC0A8007F), 1U);
  EXPECT_EQ(table.Find(0xC0A80080), 2U);
  EXPECT_EQ(table.Find(0xC0A80100), 0U);
}

TEST(ANodeTable, TakesTheLaterOfTwoEntriesWithOneNetwork) {
  const NodeTable table({Network(0x0A000000, 8, 1), Network(0x0A000000, 8, 2)});
  EXPECT_EQ(table.Find(0x0A000001), 2U);
  EXPECT_EQ(table.Find(0x0B000000), 0U);
}

// What the table means: a look at every length, longest first.
class PlainNodeTable {
 public:
  explicit PlainNodeTable(const std::vector<NodeSettings>& nodes) {
    for (const NodeSettings& node : nodes) ids_[{node.prefix_length, node.network}] = node.id;
  }
  std::uint32_t Find(std::uint32_t address) const {
    for (int length = 32; length >= 0; --length) {
      const auto found = ids_.find({length, address & MaskOf(length)});
      if (found != ids_.end()) return found->second;
    }
    return 0;
  }

 private:
  std::map<std::pair<int, std::uint32_t>, std::uint32_t> ids_;
};

class ARandomNodeTable : public testing::TestWithParam<int> {
 protected:
  // Of lengths from `shortest` on, where `area` says which bits vary.
  std::vector<NodeSettings> Networks(int count, int shortest, std::uint32_t area) {
    std::uniform_int_distribution<int> lengths(shortest, 32);
    std::vector<NodeSettings> nodes;
    for (int i = 0; i < count; ++i) {
      const int length = lengths(random_);
      const std::uint32_t network = Address(area) & MaskOf(length);
      nodes.push_back(Network(network, length, static_cast<std::uint32_t>(i) + 1));
    }
    return nodes;
  }
  std::uint32_t Address(std::uint32_t area) {
    return 0x0A000000U ^ (static_cast<std::uint32_t>(random_()) & area);
  }
  void ExpectAsPlain(const std::vector<NodeSettings>& nodes, std::uint32_t area) {
    const NodeTable table(nodes);
    const PlainNodeTable plain(nodes);
    const auto expect_same = [&](std::uint32_t address) {
      ASSERT_EQ(table.Find(address), plain.Find(address)) << std::hex << address;
    };
    for (int i = 0; i < 2000; ++i) expect_same(Address(area));
    for (const NodeSettings& node : nodes) {
      const std::uint32_t last = node.network | ~MaskOf(node.prefix_length);
      for (const std::uint32_t address : {node.network - 1, node.network, last, last + 1}) {
        expect_same(address);
      }
    }
    expect_same(0);
    expect_same(0xFFFFFFFF);
  }

  std::mt19937 random_{static_cast<unsigned>(GetParam())};
};

TEST_P(ARandomNodeTable, AnswersAsALookAtEveryLengthDoes) {
  ExpectAsPlain(Networks(300, 0, 0xFFFFFFFF), 0xFFFFFFFF);
  ExpectAsPlain(Networks(300, 8, 0x0000FFFF), 0x0001FFFF);
  ExpectAsPlain(Networks(40, 24, 0x000000FF), 0x000001FF);
}

INSTANTIATE_TEST_SUITE_P(Twenty, ARandomNodeTable, testing::Range(0, 20));

TEST(AMemoOfNodes, AnswersAsItsTableDoes) {
  const std::vector<NodeSettings> nodes = {Network(0, 0, 7), Network(0x0A000000, 8, 1),
                                           Network(0x0A010000, 16, 2)};
  const NodeTable table(nodes);
  NodeMemo memo{NodeTable(nodes)};
  for (int round = 0; round < 2; ++round) {
    for (std::uint32_t i = 0; i < 3 * NodeMemo::kEntries; ++i) {
      const std::uint32_t address = 0x0A00FF00U + 7 * i;
      ASSERT_EQ(memo.Find(address), table.Find(address)) << std::hex << address;
    }
    EXPECT_EQ(memo.Find(0), 7U);
  }
}

TEST(ANodeTable, HoldsAHundredThousandNetworks) {
  std::vector<NodeSettings> nodes;
  for (std::uint32_t i = 0; i < 100000; ++i) {
    nodes.push_back(Network((0x0A000000U + i) << 8U, 24, i + 1));
  }
  const NodeTable table(nodes);
  const PlainNodeTable plain(nodes);
  for (std::uint32_t i = 0; i < 100000; i += 7) {
    const std::uint32_t address = ((0x0A000000U + i) << 8U) + i % 256;
    ASSERT_EQ(table.Find(address), plain.Find(address)) << i;
  }
}

}  // namespace
}  // namespace packetdb::host::test
