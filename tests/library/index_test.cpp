// The repeat-merging index: finding, forgetting by number, owning.
#include "tests/library/index_fixture.h"
#include "tests/support/allocation.h"
#include "tests/support/slots.h"

namespace packetdb::test {
namespace {

TEST_F(IndexTest, EmptyIndexFindsNothingAndForgetsNothing) {
  EXPECT_FALSE(Finds(Key(1)));
  index_.RemoveFirstItem();
  EXPECT_EQ(Size(), 0);
}

TEST_F(IndexTest, FindsTheNodeThatWasAdded) {
  index_.Init(10);
  CLinkedDrvErrorItem* node = Add(Key(1));
  PacketDbItem probe = Record(Key(1));
  EXPECT_EQ(index_.FindItem(&probe), node);
  EXPECT_FALSE(Finds(Key(2)));
}

TEST_F(IndexTest, NewNodeHoldsTheEventAndZeros) {
  PacketDbItem item = Record(DistinctEvent(), 42);
  CLinkedDrvErrorItem* node = index_.NewItem(&item);
  EXPECT_EQ(Text(*node), Text(item));
  EXPECT_EQ(node->m_Next, nullptr);
  EXPECT_EQ(node->m_RecordIndex, 0);
  index_.Init(1);
  index_.AddItem(node);
}

TEST_F(IndexTest, NewNodeIsNotYetFound) {
  index_.Init(10);
  PacketDbItem item = Record(Key(1));
  CLinkedDrvErrorItem* node = index_.NewItem(&item);
  EXPECT_FALSE(Finds(Key(1)));
  index_.AddItem(node);
  EXPECT_TRUE(Finds(Key(1)));
}

TEST_F(IndexTest, NodesAreLinkedInOrderOfInsertion) {
  index_.Init(10);
  CLinkedDrvErrorItem* first = Add(Key(5));
  CLinkedDrvErrorItem* second = Add(Key(1));
  EXPECT_EQ(first->m_Next, second);
  EXPECT_EQ(second->m_Next, nullptr);
}

TEST_F(IndexTest, EvictsTheFirstOneAddedBeyondItsCapacity) {
  index_.Init(3);
  for (std::uint32_t key : {4u, 3u, 2u, 1u}) Add(Key(key));
  EXPECT_EQ(Size(), 3);
  EXPECT_FALSE(Finds(Key(4)));
  for (std::uint32_t key : {3u, 2u, 1u}) EXPECT_TRUE(Finds(Key(key))) << key;
}

TEST_F(IndexTest, CapacityZeroForgetsAtOnce) {
  Add(Key(1));
  EXPECT_EQ(Size(), 0);
  EXPECT_FALSE(Finds(Key(1)));
}

TEST_F(IndexTest, NegativeCapacityHasNoBound) {
  index_.Init(-1);
  for (std::uint32_t key = 0; key < 500; ++key) Add(Key(key));
  EXPECT_EQ(Size(), 500);
  EXPECT_TRUE(Finds(Key(0)));
}

TEST_F(IndexTest, NegativeCapacityStillForgetsByAge) {
  index_.Init(-1);
  Add(Key(1).First(100));
  Clock().SetSince1980(160);
  index_.RemoveExpiredItems(60);
  EXPECT_FALSE(Finds(Key(1)));
}

TEST_F(IndexTest, SmallerCapacityEvictsNothingNow) {
  index_.Init(3);
  for (std::uint32_t key : {1u, 2u, 3u}) Add(Key(key));
  index_.Init(1);
  EXPECT_EQ(Size(), 3);
}

TEST_F(IndexTest, OneAdditionEvictsAtMostOne) {
  index_.Init(3);
  for (std::uint32_t key : {1u, 2u, 3u}) Add(Key(key));
  index_.Init(1);
  Add(Key(4));
  EXPECT_EQ(Size(), 3);
  EXPECT_FALSE(Finds(Key(1)));
  EXPECT_TRUE(Finds(Key(2)));
}

TEST_F(IndexTest, RemoveFirstItemForgetsTheOldest) {
  index_.Init(3);
  for (std::uint32_t key : {2u, 1u}) Add(Key(key));
  index_.RemoveFirstItem();
  EXPECT_FALSE(Finds(Key(2)));
  EXPECT_TRUE(Finds(Key(1)));
  index_.RemoveFirstItem();
  EXPECT_EQ(Size(), 0);
}

TEST_F(IndexTest, CanBeFilledAgainAfterItsLastNodeLeft) {
  index_.Init(3);
  Add(Key(1));
  index_.RemoveFirstItem();
  Add(Key(2));
  Add(Key(3));
  index_.RemoveFirstItem();
  EXPECT_FALSE(Finds(Key(2)));
  EXPECT_TRUE(Finds(Key(3)));
}

TEST_F(IndexTest, EqualNodeIsListedButNotFound) {
  index_.Init(3);
  CLinkedDrvErrorItem* first = Add(Key(1));
  CLinkedDrvErrorItem* second = Add(Key(1));
  EXPECT_EQ(Size(), 1);
  EXPECT_EQ(first->m_Next, second);
  PacketDbItem probe = Record(Key(1));
  EXPECT_EQ(index_.FindItem(&probe), first);
}

TEST_F(IndexTest, EqualNodeIsCountedOnce) {
  index_.Init(1);
  CLinkedDrvErrorItem* first = Add(Key(1));
  Add(Key(1));
  PacketDbItem probe = Record(Key(1));
  EXPECT_EQ(index_.FindItem(&probe), first) << "two in the list, one to be found: none too many";
}

TEST_F(IndexTest, EvictionErasesByKey) {
  index_.Init(3);
  Add(Key(1));
  Add(Key(1));
  index_.RemoveFirstItem();
  EXPECT_FALSE(Finds(Key(1)));
  Add(Key(1));
  index_.RemoveFirstItem();
  EXPECT_EQ(Size(), 0);
}

TEST_F(IndexTest, DoneForgetsEverythingAndKeepsTheCapacity) {
  index_.Init(2);
  Add(Key(1));
  Add(Key(2));
  index_.Done();
  EXPECT_FALSE(Finds(Key(1)));
  EXPECT_EQ(Size(), 0);
  for (std::uint32_t key : {3u, 4u, 5u}) Add(Key(key));
  EXPECT_EQ(Size(), 2);
}

TEST_F(IndexTest, InitAfterDoneWorksAsOnANewIndex) {
  index_.Init(1);
  Add(Key(1));
  index_.Done();
  index_.Init(2);
  Add(Key(2));
  Add(Key(3));
  EXPECT_EQ(Size(), 2);
}

TEST_F(IndexTest, ReleasesEveryNodeThatLeaves) {
  const auto before = AllocationsAlive();
  {
    DrvErrorItemsIndex index;
    index.Init(2);
    for (std::uint32_t key : {1u, 2u, 3u, 3u, 2u}) AddTo(index, Key(key));
    index.RemoveFirstItem();
  }
  EXPECT_EQ(AllocationsAlive(), before);
}

TEST_F(IndexTest, DoneReleasesEveryNode) {
  const auto before = AllocationsAlive();
  index_.Init(5);
  for (std::uint32_t key : {1u, 2u, 3u}) Add(Key(key));
  index_.Done();
  EXPECT_EQ(AllocationsAlive(), before);
}

TEST_F(IndexTest, LookupAllocatesNothing) {
  index_.Init(5);
  Add(Key(1));
  PacketDbItem probe = Record(Key(1));
  const auto before = AllocationsMade();
  index_.FindItem(&probe);
  EXPECT_EQ(AllocationsMade(), before);
}

TEST_F(IndexTest, MembersStandInTheirOrder) {
  const std::size_t capacity = sizeof(IdentitySet);
  EXPECT_EQ(Peek<std::size_t>(&index_, capacity), 0u);
  EXPECT_EQ(Peek<void*>(&index_, capacity + 8), nullptr);
  index_.Init(-1);
  EXPECT_EQ(Peek<std::size_t>(&index_, capacity), ~std::size_t{0});
  const CLinkedDrvErrorItem* first = Add(Key(1));
  const CLinkedDrvErrorItem* last = Add(Key(2));
  EXPECT_EQ(Peek<const void*>(&index_, capacity + 8), first);
  EXPECT_EQ(Peek<const void*>(&index_, capacity + 16), last);
  EXPECT_EQ(sizeof index_, capacity + 24 + sizeof(NodePool));
}

TEST_F(IndexTest, NodeIsTheEventThenTheNextNodeThenTheRecord) {
  const CLinkedDrvErrorItem node;
  const auto offset = [&node](const void* member) {
    return static_cast<const char*>(member) - reinterpret_cast<const char*>(&node);
  };
  EXPECT_EQ(offset(static_cast<const PacketDbItem*>(&node)), 0);
  EXPECT_EQ(offset(&node.m_Next), 80);
  EXPECT_EQ(offset(&node.m_RecordIndex), 88);
}

TEST_F(IndexTest, ExhaustedMemoryYieldsNoNode) {
  PacketDbItem item = Record(Key(1));
  const FailEveryAllocation no_nodes;
  EXPECT_EQ(index_.NewItem(&item), nullptr);
}

TEST_F(IndexTest, ExhaustedMemoryIsLogged) {
  PacketDbItem item = Record(Key(1));
  ExpectLogged(1, "Failed to allocate memory for CLinkedDrvErrorItem", [&] {
    const FailAllocation no_nodes(0, false);
    index_.NewItem(&item);
  });
}

TEST_F(IndexTest, NodeWithoutMemoryForItsPlaceIsReleased) {
  index_.Init(-1);
  Add(Key(0));
  PacketDbItem item;
  const CLinkedDrvErrorItem* lost = nullptr;
  int kept = 1;
  for (std::uint32_t key = 1; lost == nullptr;
       ++key) {  // there is room for some without more memory
    item = Record(Key(key));
    CLinkedDrvErrorItem* node = index_.NewItem(&item);
    const FailEveryAllocation no_memory;
    index_.AddItem(node);
    if (index_.FindItem(&item) == nullptr) {
      lost = node;
    } else {
      ++kept;
    }
  }
  EXPECT_EQ(Size(), kept);
  EXPECT_EQ(index_.NewItem(&item), lost) << "its memory is free again";
}

TEST_F(IndexTest, GoesOnAfterANodeFoundNoMemoryForItsPlace) {
  index_.Init(2);
  PacketDbItem item = Record(Key(1));
  CLinkedDrvErrorItem* node = index_.NewItem(&item);
  {
    const FailEveryAllocation no_memory;
    index_.AddItem(node);
  }
  for (std::uint32_t key : {2u, 3u, 1u}) Add(Key(key));
  EXPECT_FALSE(Finds(Key(2)));
  EXPECT_TRUE(Finds(Key(3)));
  EXPECT_TRUE(Finds(Key(1)));
}

TEST_F(IndexTest, ExhaustedMemoryThatCannotBeLoggedThrowsNothing) {
  PacketDbItem item = Record(Key(1));
  const CLinkedDrvErrorItem* node = nullptr;
  Log().SetLevel(5);
  {
    const FailEveryAllocation no_memory;
    EXPECT_NO_THROW(node = index_.NewItem(&item));
  }
  EXPECT_EQ(node, nullptr);
  EXPECT_TRUE(Log().Lines().empty());
}

}  // namespace
}  // namespace packetdb::test
