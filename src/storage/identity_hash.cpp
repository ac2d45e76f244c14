#include <new>

#include "packetdb/identity_set.h"
#include "src/storage/identity.h"

namespace packetdb {

namespace {

constexpr std::size_t kFirstSlots = 64;

// How far from its place a node may lie. With a table half full, four in a million would lie
// farther; who sends identities of one hash on purpose gets no longer search than this.
constexpr std::size_t kFarthest = 64;

// Both halves of the product have a part in each bit of the result.
std::uint64_t Mix(std::uint64_t a, std::uint64_t b) {
  __extension__ using Wide = unsigned __int128;
  const Wide product = Wide{a} * b;
  return static_cast<std::uint64_t>(product) ^ static_cast<std::uint64_t>(product >> 64U);
}

std::uint64_t Word(const PacketDbItem& item, std::size_t offset) {
  std::uint64_t word;
  std::memcpy(&word, reinterpret_cast<const unsigned char*>(&item.m_Item) + offset, sizeof word);
  return word;
}

}  // namespace

// Where the table lies is not known outside of the process, which makes it hard to send identities
// that collide.
std::uint64_t IdentityHash::HashOf(const PacketDbItem& item) const {
  constexpr std::uint64_t kOdd[] = {0x9E3779B97F4A7C15, 0xD6E8FEB86659FD93, 0xA0761D6478BD642F};
  constexpr std::size_t kLastWord = kIdentityBytes - sizeof(std::uint64_t);
  const std::uint64_t seed = reinterpret_cast<std::uintptr_t>(this) * kOdd[0];
  const std::uint64_t first = Mix(Word(item, 0) ^ seed, Word(item, 8) ^ kOdd[0]);
  const std::uint64_t second = Mix(Word(item, 16) ^ seed, Word(item, 24) ^ kOdd[1]);
  const std::uint64_t third = Mix(Word(item, kLastWord) ^ seed, item.m_AdapterNameHash ^ kOdd[2]);
  return Mix(first ^ kOdd[1], second ^ third);
}

IdentityHash::Slot* IdentityHash::SlotOf(const PacketDbItem& item) const {
  if (m_Slots == nullptr) {
    return nullptr;
  }
  const std::uint64_t hash = HashOf(item);
  for (std::size_t distance = 0; distance < kFarthest; ++distance) {
    Slot& slot = m_Slots[(hash + distance) & m_Mask];
    if (slot.node == nullptr) {
      return nullptr;
    }
    if (slot.hash == hash && SameIdentity(*slot.node, item)) {
      return &slot;
    }
  }
  return nullptr;
}

CLinkedDrvErrorItem* IdentityHash::Find(const PacketDbItem& item) const {
  const Slot* const slot = SlotOf(item);
  return slot != nullptr ? slot->node : nullptr;
}

void IdentityHash::Place(const Slot& slot) {
  for (std::size_t distance = 0; distance < kFarthest; ++distance) {
    Slot& place = m_Slots[(slot.hash + distance) & m_Mask];
    if (place.node == nullptr) {
      place = slot;
      ++m_Used;
      return;
    }
  }
}

bool IdentityHash::Grow() {
  const std::size_t old_slots = m_Slots == nullptr ? 0 : m_Mask + 1;
  const std::size_t slots = m_Slots == nullptr ? kFirstSlots : 2 * old_slots;
  auto* const grown = new (std::nothrow) Slot[slots]();
  if (grown == nullptr) {
    return false;
  }
  Slot* const old = m_Slots;
  m_Slots = grown;
  m_Mask = slots - 1;
  m_Used = 0;
  for (std::size_t i = 0; i < old_slots; ++i) {
    if (old[i].node != nullptr) {
      Place(old[i]);
    }
  }
  delete[] old;
  return true;
}

void IdentityHash::Insert(CLinkedDrvErrorItem* node) {
  const bool is_half_full = 2 * m_Used >= m_Mask;  // without a table as well
  if (!is_half_full || Grow()) {
    Place({HashOf(*node), node});
  }
}

// Nodes behind it that would lie nearer to their places move up, so that a search may end at the
// first free slot.
void IdentityHash::Erase(const PacketDbItem& item) {
  const Slot* const hole = SlotOf(item);
  if (hole == nullptr) {
    return;
  }
  auto at_hole = static_cast<std::size_t>(hole - m_Slots);
  std::size_t next = at_hole;
  for (;;) {
    next = (next + 1) & m_Mask;
    Slot& slot = m_Slots[next];
    if (slot.node == nullptr) {
      break;
    }
    const std::size_t from_home = (next - slot.hash) & m_Mask;
    const std::size_t from_hole = (next - at_hole) & m_Mask;
    if (from_home >= from_hole) {
      m_Slots[at_hole] = slot;
      at_hole = next;
    }
  }
  m_Slots[at_hole].node = nullptr;
  --m_Used;
}

void IdentityHash::Clear() {
  delete[] m_Slots;
  m_Slots = nullptr;
  m_Mask = 0;
  m_Used = 0;
}

}  // namespace packetdb
