// How the index keeps its nodes, against the standard's own containers.
#include "packetdb/identity_set.h"

#include <deque>
#include <gmock/gmock.h>
#include <random>
#include <set>

#include "tests/support/allocation.h"
#include "tests/support/fixture.h"
#include "tests/support/seed.h"

namespace packetdb::test {
namespace {

// Nodes of different identities, many of which begin with the same eight bytes.
std::deque<CLinkedDrvErrorItem> ManyNodes(std::uint32_t count) {
  std::deque<CLinkedDrvErrorItem> nodes;
  for (std::uint32_t number = 0; number < count; ++number) {
    CLinkedDrvErrorItem& node = nodes.emplace_back();
    node.m_Item.m_SrcIp = number % 7;
    node.m_Item.m_DstPort = static_cast<std::uint16_t>(number / 7);
    node.m_AdapterNameHash = number % 2;
  }
  return nodes;
}

using Model = std::set<CLinkedDrvErrorItem*, DrvErrorItemLess>;

// Adds and takes out nodes by chance, so that there are sometimes many and sometimes few.
template <class Add, class TakeOut>
void Churn(std::deque<CLinkedDrvErrorItem>& nodes, int steps, const Add& add,
           const TakeOut& take_out) {
  std::mt19937 random(Seed());
  for (int step = 0; step < steps; ++step) {
    CLinkedDrvErrorItem& node = nodes[random() % nodes.size()];
    const bool is_filling = (step / 4000) % 2 == 0;
    if (random() % 8 < (is_filling ? 6U : 2U)) {
      add(&node);
    } else {
      take_out(&node);
    }
  }
}

TEST(IdentityOrderTest, HoldsWhatASetHolds) {
  auto nodes = ManyNodes(3000);
  IdentityOrder order;
  Model model;
  Churn(
      nodes, 60000,
      [&](CLinkedDrvErrorItem* node) {
        ASSERT_EQ(order.Insert(node), model.insert(node).second);
        ASSERT_EQ(order.Find(*node), node);
      },
      [&](CLinkedDrvErrorItem* node) {
        ASSERT_EQ(order.Erase(*node), model.erase(node) == 1);
        ASSERT_EQ(order.Find(*node), nullptr);
      });
  for (CLinkedDrvErrorItem& node : nodes) {
    ASSERT_EQ(order.Find(node), model.contains(&node) ? &node : nullptr);
  }
}

TEST(IdentityOrderTest, CanBeEmptiedInAnyOrder) {
  auto nodes = ManyNodes(2000);
  for (const std::size_t stride : {1U, 7U, 1999U}) {
    IdentityOrder order;
    for (CLinkedDrvErrorItem& node : nodes) ASSERT_TRUE(order.Insert(&node));
    for (std::uint32_t i = 0; i < nodes.size(); ++i) {
      ASSERT_TRUE(order.Erase(nodes[i * stride % nodes.size()])) << stride << ' ' << i;
    }
    EXPECT_EQ(order.Find(nodes.front()), nullptr);
  }
}

TEST(IdentityOrderTest, KeepsWhatItHasWhenMemoryIsExhausted) {
  auto nodes = ManyNodes(5000);
  IdentityOrder order;
  std::set<const CLinkedDrvErrorItem*> left_out;
  for (CLinkedDrvErrorItem& node : nodes) {
    const FailAllocation sometimes(1, false);  // of those that need two
    try {
      order.Insert(&node);
    } catch (const std::bad_alloc&) {
      left_out.insert(&node);
    }
  }
  EXPECT_FALSE(left_out.empty());
  for (const CLinkedDrvErrorItem& node : nodes) {
    ASSERT_EQ(order.Find(node), left_out.contains(&node) ? nullptr : &node);
  }
}

TEST(IdentityHashTest, HoldsWhatASetHolds) {
  auto nodes = ManyNodes(3000);
  IdentityHash hash;
  Model model;
  Churn(
      nodes, 60000,
      [&](CLinkedDrvErrorItem* node) {
        if (model.insert(node).second) hash.Insert(node);
        ASSERT_EQ(hash.size(), model.size());
      },
      [&](CLinkedDrvErrorItem* node) {
        model.erase(node);
        hash.Erase(*node);
        ASSERT_EQ(hash.Find(*node), nullptr);
      });
  for (CLinkedDrvErrorItem& node : nodes) {
    ASSERT_EQ(hash.Find(node), model.contains(&node) ? &node : nullptr);
  }
}

TEST(IdentitySetTest, FindsWhatTheHashTableHasNoMemoryFor) {
  auto nodes = ManyNodes(1000);
  IdentitySet set;
  {
    const FailAllocationsOf table(1024);
    for (CLinkedDrvErrorItem& node : nodes) ASSERT_TRUE(set.Insert(&node));
  }
  for (CLinkedDrvErrorItem& node : nodes) ASSERT_EQ(set.Find(node), &node);
  for (CLinkedDrvErrorItem& node : nodes) {
    set.Erase(node);
    ASSERT_EQ(set.Find(node), nullptr);
  }
  EXPECT_TRUE(set.empty());
}

TEST(IdentitySetTest, FirstOfTwoEqualNodesStays) {
  auto nodes = ManyNodes(1);
  CLinkedDrvErrorItem equal = nodes[0];
  IdentitySet set;
  EXPECT_TRUE(set.Insert(&nodes[0]));
  EXPECT_FALSE(set.Insert(&equal));
  EXPECT_EQ(set.size(), 1u);
  EXPECT_EQ(set.Find(equal), &nodes[0]);
}

TEST(NodePoolTest, GivesZerosAlsoFromMemoryThatWasUsed) {
  NodePool pool;
  CLinkedDrvErrorItem* const node = pool.Take();
  node->m_RecordIndex = 5;
  node->m_Item.m_Count = 7;
  pool.Return(node);
  ASSERT_EQ(pool.Take(), node);
  EXPECT_EQ(node->m_RecordIndex, 0);
  EXPECT_EQ(std::uint32_t{node->m_Item.m_Count}, 0u);
  EXPECT_EQ(node->m_Next, nullptr);
}

TEST(NodePoolTest, KeepsItsMemoryWhileANodeIsOut) {
  NodePool pool;
  const auto before = AllocationsAlive();
  CLinkedDrvErrorItem* const one = pool.Take();
  CLinkedDrvErrorItem* const other = pool.Take();
  pool.Return(other);
  pool.Trim();
  one->m_RecordIndex = 1;
  EXPECT_GT(AllocationsAlive(), before);
  pool.Return(one);
  pool.Trim();
  EXPECT_EQ(AllocationsAlive(), before);
}

}  // namespace
}  // namespace packetdb::test
