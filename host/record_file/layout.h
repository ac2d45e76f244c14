// The bytes of a record file, layout version 1: the one header that writer, reader and tests share.
// docs/journal_format.md explains it and is compared with it by a test.
//
//   0             header page, written once when the file is made
//   4096          state: the commit word, the redo word, the redo record
//   slots_offset  slots, one record each
//
// Numbers are stored in the byte order of the machine that made the file (x86-64: little-endian);
// the byte-order mark lets any other machine notice.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace packetdb::host {

// The first byte is no ASCII and the last is a line feed, so that a text or a transfer that changed
// line ends is never taken for a record file.
inline constexpr std::array<char, 8> kSignature = {'\x89', 'R', 'E', 'C', 'F', 'I', 'L', '\n'};
inline constexpr std::uint32_t kLayoutVersion = 1;
inline constexpr std::uint32_t kByteOrderMark = 0x01020304;
inline constexpr std::uint32_t kSwappedByteOrderMark = 0x04030201;

// The smallest page of a mapping: header and slots start on one, so that the state shares no page
// with what is written once.
inline constexpr std::size_t kPageSize = 4096;
// Slots are multiples of it, so that records and the words of the state are never misaligned.
inline constexpr std::size_t kSlotAlignment = 8;
inline constexpr std::size_t kMagicSize = 128;  // the caller's magic and at least one NUL
// No caller has records beyond a few hundred bytes; the bound keeps every product of header numbers
// far from overflow.
inline constexpr std::uint64_t kMaxRecordSize = 1U << 20U;
// Positions and tickets are non-negative ints.
inline constexpr std::uint64_t kMaxRecords = 0x7FFFFFFF;
// The slot of a half-written append must not be the slot of the oldest live record.
inline constexpr std::uint64_t kSpareSlots = 1;
// Sequence numbers never get here; below it their arithmetic cannot overflow.
inline constexpr std::uint64_t kMaxSequence = std::uint64_t{1} << 62U;

// Every layout version keeps the first 20 bytes and the checksum where they are, so that any
// program can tell a file that is too new from a damaged one.
struct HeaderPage {
  std::array<char, 8> signature;
  std::uint32_t layout_version;
  std::uint32_t byte_order_mark;
  std::uint32_t header_length;         // kPageSize
  std::uint32_t record_size;           // bytes that the caller stores per record
  std::uint32_t slot_size;             // record_size rounded up to kSlotAlignment
  std::uint32_t flags;                 // 0; a reader refuses what it does not know
  std::uint64_t capacity;              // records kept; 0: no bound, the file grows
  std::uint64_t slot_count;            // capacity + kSpareSlots; 0 when there is no bound
  std::uint64_t slots_offset;          // bytes from the start of the file
  std::uint64_t first_sequence;        // sequence number of the first record ever appended
  std::uint64_t created_ns;            // Unix time of creation in nanoseconds; for people only
  std::array<char, kMagicSize> magic;  // NUL-padded
  std::array<char, 3892> reserved;     // zero
  std::uint32_t checksum;              // CRC-32C of all bytes before it
};

struct StateWords {
  std::uint64_t next;  // commit word: sequence number of the next append
  std::array<char, 56> padding;
  std::uint64_t redo;  // 0, or 1 + the sequence number of the record that the redo record replaces
  std::array<char, 56> redo_padding;
};

inline constexpr std::size_t kStateOffset = kPageSize;
inline constexpr std::size_t kRedoRecordOffset = kStateOffset + sizeof(StateWords);
inline constexpr std::size_t kChecksumOffset = offsetof(HeaderPage, checksum);
inline constexpr std::uint64_t kNoRedo = 0;

static_assert(sizeof(HeaderPage) == kPageSize);
static_assert(std::is_trivially_copyable_v<HeaderPage>);
static_assert(offsetof(HeaderPage, layout_version) == 8);
static_assert(offsetof(HeaderPage, byte_order_mark) == 12);
static_assert(offsetof(HeaderPage, header_length) == 16);
static_assert(offsetof(HeaderPage, record_size) == 20);
static_assert(offsetof(HeaderPage, slot_size) == 24);
static_assert(offsetof(HeaderPage, flags) == 28);
static_assert(offsetof(HeaderPage, capacity) == 32);
static_assert(offsetof(HeaderPage, slot_count) == 40);
static_assert(offsetof(HeaderPage, slots_offset) == 48);
static_assert(offsetof(HeaderPage, first_sequence) == 56);
static_assert(offsetof(HeaderPage, created_ns) == 64);
static_assert(offsetof(HeaderPage, magic) == 72);
static_assert(kChecksumOffset == kPageSize - 4, "the checksum closes the page");

static_assert(sizeof(StateWords) == 128);
static_assert(std::is_trivially_copyable_v<StateWords>);
static_assert(offsetof(StateWords, next) == 0);
static_assert(offsetof(StateWords, redo) == 64, "the two words do not share a cache line");
static_assert(kRedoRecordOffset % kSlotAlignment == 0);

constexpr std::uint64_t RoundUp(std::uint64_t value, std::uint64_t unit) {
  return (value + unit - 1) / unit * unit;
}

constexpr std::uint64_t SlotSize(std::uint64_t record_size) {
  return RoundUp(record_size, kSlotAlignment);
}

// The state takes as many pages as its redo record needs.
constexpr std::uint64_t SlotsOffset(std::uint64_t slot_size) {
  return RoundUp(kRedoRecordOffset + slot_size, kPageSize);
}

static_assert(SlotSize(72) == 72 && SlotSize(60) == 64);
static_assert(SlotsOffset(72) == 2 * kPageSize);
static_assert((kMaxRecords + kSpareSlots) * SlotSize(kMaxRecordSize) < kMaxSequence,
              "the length of the largest file fits a file offset with room to spare");

}  // namespace packetdb::host
