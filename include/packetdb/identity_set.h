// How the repeat-merging index keeps its nodes: ordered by identity, with a hash table beside the
// order, and in blocks of memory. Users of the library have no need of this header.
#pragma once

#include <cstddef>
#include <cstdint>

namespace packetdb {

struct CLinkedDrvErrorItem;
struct PacketDbItem;

// The order: a B-tree whose entries carry the first eight bytes of the identity beside the node, so
// that most comparisons read no node.
class __attribute__((visibility("hidden"))) IdentityOrder {
 public:
  IdentityOrder() = default;
  ~IdentityOrder() { Clear(); }
  IdentityOrder(const IdentityOrder&) = delete;
  IdentityOrder& operator=(const IdentityOrder&) = delete;

  // The node of that identity, or null.
  CLinkedDrvErrorItem* Find(const CLinkedDrvErrorItem& probe) const;
  // False when there is one of that identity already, which stays. Throws std::bad_alloc, and then
  // holds what it held.
  bool Insert(CLinkedDrvErrorItem* node);
  // Takes out the node of that identity, whichever it is; false when there is none.
  bool Erase(const CLinkedDrvErrorItem& item);
  void Clear();

 private:
  struct Entry;
  struct Page;
  struct InnerPage;

  static bool Before(const Entry& a, const Entry& b);
  static std::size_t LowerBound(const Page& page, const Entry& key);
  static Page* NewPage(bool is_leaf);
  static void Free(Page* page);
  static void FreeAll(Page* page);
  static void SplitChild(InnerPage* parent, std::size_t child);
  static void MergeChildren(InnerPage* parent, std::size_t left);
  static void BorrowFromLeft(InnerPage* parent, std::size_t child);
  static void BorrowFromRight(InnerPage* parent, std::size_t child);
  static Page* ChildToTakeFrom(InnerPage* parent, std::size_t child);
  static Page* ReplaceInside(InnerPage* page, std::size_t at, Entry* key);
  void SplitRoot();
  void ShrinkRoot();

  Page* m_Root = nullptr;
};

// The hash table: open addressing with linear probing, at most half full. It holds what it can: a
// node that would lie too far from its place, or for which there is no memory, is left out.
class __attribute__((visibility("hidden"))) IdentityHash {
 public:
  IdentityHash() = default;
  ~IdentityHash() { Clear(); }
  IdentityHash(const IdentityHash&) = delete;
  IdentityHash& operator=(const IdentityHash&) = delete;

  // The node of that identity; null when there is none, or it was left out.
  CLinkedDrvErrorItem* Find(const PacketDbItem& item) const;
  // The identity must not be there yet.
  void Insert(CLinkedDrvErrorItem* node);
  void Erase(const PacketDbItem& item);
  void Clear();

  std::size_t size() const { return m_Used; }

 private:
  struct Slot {
    std::uint64_t hash;
    CLinkedDrvErrorItem* node;  // null: free
  };

  std::uint64_t HashOf(const PacketDbItem& item) const;
  Slot* SlotOf(const PacketDbItem& item) const;
  void Place(const Slot& slot);
  bool Grow();

  Slot* m_Slots = nullptr;
  std::size_t m_Mask = 0;  // the number of slots, a power of two, less one
  std::size_t m_Used = 0;
};

// Both: an ordered set of nodes, one of each identity. It owns none. The hash table answers first;
// the order has what it left out, so that a search is logarithmic whatever identities somebody
// sends to spoil the hash.
class __attribute__((visibility("hidden"))) IdentitySet {
 public:
  CLinkedDrvErrorItem* Find(const PacketDbItem& item) const;
  // False when there is one of that identity already, which stays. Throws std::bad_alloc, and then
  // holds what it held.
  bool Insert(CLinkedDrvErrorItem* node);
  // Takes out the node of that identity, whichever it is.
  void Erase(const CLinkedDrvErrorItem& key);
  void Clear();

  bool empty() const { return m_Size == 0; }
  std::size_t size() const { return m_Size; }
  static constexpr std::size_t max_size() { return SIZE_MAX / sizeof(void*); }

 private:
  IdentityOrder m_Order;
  IdentityHash m_Hash;
  std::size_t m_Size = 0;
};

// Memory for nodes, in blocks.
class __attribute__((visibility("hidden"))) NodePool {
 public:
  NodePool() = default;
  ~NodePool();
  NodePool(const NodePool&) = delete;
  NodePool& operator=(const NodePool&) = delete;

  // A node of zeros; null when memory is exhausted.
  CLinkedDrvErrorItem* Take();
  void Return(CLinkedDrvErrorItem* node);
  // Gives the blocks back if no node is out.
  void Trim();

 private:
  struct Block;

  void AddBlock();  // when there is memory for one
  void FreeBlocks();

  Block* m_Blocks = nullptr;
  CLinkedDrvErrorItem* m_Free = nullptr;  // linked by m_Next
  std::size_t m_Taken = 0;
};

}  // namespace packetdb
