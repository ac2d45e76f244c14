// The order of identities is a B-tree: pages are split on the way down before they overflow and
// filled up on the way down before they run empty, so that no step has to go back up.
#include <algorithm>
#include <array>
#include <bit>
#include <new>

#include "packetdb/identity_set.h"
#include "src/storage/identity.h"

namespace packetdb {

namespace {

// A page but the root has kFewest to kMost entries. Measured: with 31 entries a search touches
// three pages among 30,000 nodes, and moving half a page costs less than one more page to read.
constexpr std::size_t kFewest = 15;
constexpr std::size_t kMost = 2 * kFewest + 1;

}  // namespace

struct IdentityOrder::Entry {
  Entry() = default;
  explicit Entry(const CLinkedDrvErrorItem& item) : node(const_cast<CLinkedDrvErrorItem*>(&item)) {
    std::memcpy(&prefix, &item.m_Item, sizeof prefix);
    static_assert(std::endian::native == std::endian::little);
    prefix = __builtin_bswap64(prefix);  // as a number it has the order of its bytes
  }

  std::uint64_t prefix;
  CLinkedDrvErrorItem* node;
};

struct IdentityOrder::Page {
  bool is_full() const { return count == kMost; }
  bool can_spare() const { return count > kFewest; }

  void Insert(std::size_t at, const Entry& entry) {
    std::move_backward(entries.begin() + at, entries.begin() + count, entries.begin() + count + 1);
    entries[at] = entry;
    ++count;
  }
  void Erase(std::size_t at) {
    std::move(entries.begin() + at + 1, entries.begin() + count, entries.begin() + at);
    --count;
  }

  std::size_t count;
  bool is_leaf;
  std::array<Entry, kMost> entries;
};

struct IdentityOrder::InnerPage : Page {
  void InsertChild(std::size_t at, Page* child) {  // when its entry is in already
    std::move_backward(children.begin() + at, children.begin() + count,
                       children.begin() + count + 1);
    children[at] = child;
  }
  void EraseChild(std::size_t at) {  // when its entry is gone already
    std::move(children.begin() + at + 1, children.begin() + count + 2, children.begin() + at);
  }

  std::array<Page*, kMost + 1> children;
};

bool DrvErrorItemLess::operator()(const CLinkedDrvErrorItem* a,
                                  const CLinkedDrvErrorItem* b) const {
  const int order = std::memcmp(&a->m_Item, &b->m_Item, kIdentityBytes);
  return order != 0 ? order < 0 : a->m_AdapterNameHash < b->m_AdapterNameHash;
}

bool IdentityOrder::Before(const Entry& a, const Entry& b) {
  return a.prefix != b.prefix ? a.prefix < b.prefix : DrvErrorItemLess()(a.node, b.node);
}

std::size_t IdentityOrder::LowerBound(const Page& page, const Entry& key) {
  const auto* const begin = page.entries.data();
  return static_cast<std::size_t>(std::lower_bound(begin, begin + page.count, key, Before) - begin);
}

IdentityOrder::Page* IdentityOrder::NewPage(bool is_leaf) {
  Page* page = is_leaf ? new Page : new InnerPage;
  page->count = 0;
  page->is_leaf = is_leaf;
  return page;
}

void IdentityOrder::Free(Page* page) {
  if (page->is_leaf) {
    delete page;
  } else {
    delete static_cast<InnerPage*>(page);
  }
}

void IdentityOrder::FreeAll(Page* page) {
  if (!page->is_leaf) {
    auto* const inner = static_cast<InnerPage*>(page);
    std::for_each_n(inner->children.begin(), inner->count + 1, FreeAll);
  }
  Free(page);
}

void IdentityOrder::Clear() {
  if (m_Root != nullptr) {
    FreeAll(m_Root);
    m_Root = nullptr;
  }
}

CLinkedDrvErrorItem* IdentityOrder::Find(const CLinkedDrvErrorItem& probe) const {
  const Entry key(probe);
  const Page* page = m_Root;
  while (page != nullptr) {
    const std::size_t at = LowerBound(*page, key);
    if (at < page->count && !Before(key, page->entries[at])) {
      return page->entries[at].node;
    }
    page = page->is_leaf ? nullptr : static_cast<const InnerPage*>(page)->children[at];
  }
  return nullptr;
}

// Moves the upper half of a full child into a page of its own, and the entry between them up.
void IdentityOrder::SplitChild(InnerPage* parent, std::size_t child) {
  Page* const left = parent->children[child];
  Page* const right = NewPage(left->is_leaf);
  right->count = kFewest;
  std::copy_n(left->entries.begin() + kFewest + 1, kFewest, right->entries.begin());
  if (!left->is_leaf) {
    std::copy_n(static_cast<InnerPage*>(left)->children.begin() + kFewest + 1, kFewest + 1,
                static_cast<InnerPage*>(right)->children.begin());
  }
  left->count = kFewest;
  parent->Insert(child, left->entries[kFewest]);
  parent->InsertChild(child + 1, right);
}

void IdentityOrder::SplitRoot() {
  auto* const root = static_cast<InnerPage*>(NewPage(false));
  root->children[0] = m_Root;
  try {
    SplitChild(root, 0);
  } catch (...) {
    Free(root);
    throw;
  }
  m_Root = root;
}

bool IdentityOrder::Insert(CLinkedDrvErrorItem* node) {
  const Entry key(*node);
  if (m_Root == nullptr) {
    m_Root = NewPage(true);
  }
  if (m_Root->is_full()) {
    SplitRoot();
  }
  Page* page = m_Root;
  for (;;) {
    const std::size_t at = LowerBound(*page, key);
    if (at < page->count && !Before(key, page->entries[at])) {
      return false;
    }
    if (page->is_leaf) {
      page->Insert(at, key);
      return true;
    }
    auto* const inner = static_cast<InnerPage*>(page);
    if (inner->children[at]->is_full()) {
      SplitChild(inner, at);
      continue;  // the entry that came up decides on which side to go on, or is the same
    }
    page = inner->children[at];
  }
}

// Makes one page of two neighbours with the fewest entries and the entry between them.
void IdentityOrder::MergeChildren(InnerPage* parent, std::size_t left) {
  Page* const into = parent->children[left];
  Page* const from = parent->children[left + 1];
  into->entries[into->count] = parent->entries[left];
  std::copy_n(from->entries.begin(), from->count, into->entries.begin() + into->count + 1);
  if (!into->is_leaf) {
    std::copy_n(static_cast<InnerPage*>(from)->children.begin(), from->count + 1,
                static_cast<InnerPage*>(into)->children.begin() + into->count + 1);
  }
  into->count += 1 + from->count;
  parent->Erase(left);
  parent->EraseChild(left + 1);
  Free(from);
}

void IdentityOrder::BorrowFromLeft(InnerPage* parent, std::size_t child) {
  Page* const from = parent->children[child - 1];
  Page* const into = parent->children[child];
  into->Insert(0, parent->entries[child - 1]);
  if (!into->is_leaf) {
    static_cast<InnerPage*>(into)->InsertChild(
        0, static_cast<InnerPage*>(from)->children[from->count]);
  }
  parent->entries[child - 1] = from->entries[from->count - 1];
  --from->count;
}

void IdentityOrder::BorrowFromRight(InnerPage* parent, std::size_t child) {
  Page* const into = parent->children[child];
  Page* const from = parent->children[child + 1];
  into->entries[into->count] = parent->entries[child];
  ++into->count;
  parent->entries[child] = from->entries[0];
  from->Erase(0);
  if (!into->is_leaf) {
    static_cast<InnerPage*>(into)->children[into->count] =
        static_cast<InnerPage*>(from)->children[0];
    static_cast<InnerPage*>(from)->EraseChild(0);
  }
}

// The child, or what became of it, with an entry to spare.
IdentityOrder::Page* IdentityOrder::ChildToTakeFrom(InnerPage* parent, std::size_t child) {
  if (parent->children[child]->can_spare()) {
    return parent->children[child];
  }
  if (child > 0 && parent->children[child - 1]->can_spare()) {
    BorrowFromLeft(parent, child);
    return parent->children[child];
  }
  if (child < parent->count && parent->children[child + 1]->can_spare()) {
    BorrowFromRight(parent, child);
    return parent->children[child];
  }
  const std::size_t left = child < parent->count ? child : child - 1;
  MergeChildren(parent, left);
  return parent->children[left];
}

// An entry of an inner page goes: its neighbour in the order takes its place, and is what has to go
// from the child that is returned. Where neither child can spare one they become one page, which
// has the entry.
IdentityOrder::Page* IdentityOrder::ReplaceInside(InnerPage* page, std::size_t at, Entry* key) {
  for (const bool is_left : {true, false}) {
    Page* const child = page->children[is_left ? at : at + 1];
    if (!child->can_spare()) {
      continue;
    }
    const Page* leaf = child;
    while (!leaf->is_leaf) {
      const auto* const inner = static_cast<const InnerPage*>(leaf);
      leaf = inner->children[is_left ? inner->count : 0];
    }
    *key = leaf->entries[is_left ? leaf->count - 1 : 0];
    page->entries[at] = *key;
    return child;
  }
  MergeChildren(page, at);
  return page->children[at];
}

void IdentityOrder::ShrinkRoot() {
  if (m_Root == nullptr || m_Root->count != 0) {
    return;
  }
  Page* const old = m_Root;
  m_Root = old->is_leaf ? nullptr : static_cast<InnerPage*>(old)->children[0];
  Free(old);
}

bool IdentityOrder::Erase(const CLinkedDrvErrorItem& item) {
  Entry key(item);
  bool found = false;
  Page* page = m_Root;
  while (page != nullptr) {
    const std::size_t at = LowerBound(*page, key);
    const bool is_here = at < page->count && !Before(key, page->entries[at]);
    if (page->is_leaf) {
      if (is_here) {
        page->Erase(at);
        found = true;
      }
      break;
    }
    auto* const inner = static_cast<InnerPage*>(page);
    page = is_here ? ReplaceInside(inner, at, &key) : ChildToTakeFrom(inner, at);
  }
  ShrinkRoot();
  return found;
}

}  // namespace packetdb
