// The bytes of a record file, layout version 2: the one header that writer, reader and tests share.
// docs/journal_format.md explains it and is compared with it by a test.
//
//       0  superblock A  4096   written once, when the file is made
//    4096  superblock B  4096   the same bytes again
//    8192  state page    4096   changes all the time; its checksum counts while the file is closed
//   12288  cells         512 each, several frames in each; slot s is frame s % k of cell s / k
//
// Numbers are stored little-endian, which is the byte order of the only machines that we run on.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace packetdb::host {

// The first byte is no ASCII and the last is a line feed, so that a text or a transfer that changed
// line ends is never taken for a record file.
inline constexpr std::array<char, 8> kSignature = {'\x89', 'R', 'E', 'C', 'F', 'I', 'L', '\n'};
inline constexpr std::uint32_t kLayoutVersion = 2;
inline constexpr std::uint32_t kByteOrderMark = 0x01020304;
inline constexpr std::uint32_t kSwappedByteOrderMark = 0x04030201;

inline constexpr std::uint64_t kPageSize = 4096;
// What a disk writes entirely or not at all. A frame never straddles two.
inline constexpr std::uint64_t kSectorSize = 512;
inline constexpr std::uint64_t kCellSize = kSectorSize;
inline constexpr std::uint64_t kFrameAlignment = 8;
inline constexpr std::uint64_t kMagicSize = 128;  // the caller's magic and at least one NUL
inline constexpr std::uint64_t kFileIdSize = 16;
inline constexpr std::uint64_t kBootIdSize = 16;

// Behind the record in its frame: the low half of its sequence number and the checksum.
inline constexpr std::uint64_t kFrameTailSize = 8;
inline constexpr std::uint64_t kMaxRecordSize = kCellSize - kFrameTailSize;
// Positions and tickets are non-negative ints.
inline constexpr std::uint64_t kMaxRecords = 0x7FFFFFFF;
// Slots beyond the capacity: what is being appended never lies over a record that still counts, and
// a reader in another process has a head start before it is overtaken.
inline constexpr std::uint64_t kMinSlack = 4096;
inline constexpr std::uint64_t kSlackDivisor = 16;
// Sequence numbers never get here; below it their arithmetic cannot overflow.
inline constexpr std::uint64_t kMaxSequence = 0xFFFF'FFFF'0000'0000;

// Every layout version keeps the first 20 bytes and the checksum where they are, so that any
// program can tell a file that is too new, or too old, from a damaged one.
struct Superblock {
  std::array<char, 8> signature;
  std::uint32_t layout_version;
  std::uint32_t byte_order_mark;
  std::uint32_t header_length;    // kCellsOffset
  std::uint32_t cell_size;        // kCellSize
  std::uint32_t record_size;      // bytes that the caller stores per record
  std::uint32_t frame_size;       // record, padding and tail
  std::uint32_t frames_per_cell;  // whole frames only
  std::uint32_t flags;            // 0; a reader refuses what it does not know
  std::uint64_t capacity;         // records kept; 0: no bound, the file grows
  std::uint64_t slot_count;       // capacity and slack, in whole pages; 0 when there is no bound
  std::uint64_t file_length;      // bytes; 0 when there is no bound
  std::array<std::uint8_t, kFileIdSize> file_id;  // random; its first 4 bytes seed every checksum
  std::uint64_t created_ns;            // Unix time of creation in nanoseconds; for people only
  std::uint64_t first_sequence;        // sequence number of the first record that the file got
  std::array<char, kMagicSize> magic;  // NUL-padded
  std::array<char, 3868> reserved;     // zero
  std::uint32_t checksum;              // CRC-32C of all bytes before it
};

enum FileState : std::uint32_t {
  kClosed = 1,  // nobody has changed anything since the checksum of the page was made
  kOpen = 2,    // a writer has changed something and is not done
  kFailed = 3,  // as kOpen, and a flush has failed: what is on the disk is not known
};

// The words that one side changes often do not share a cache line with those of the other.
struct StatePage {
  // The writer's, in sector 0.
  std::uint64_t next;    // the commit word: sequence number of the next append
  std::uint64_t merges;  // overwrites that are complete
  std::array<char, 48> writer_padding;
  // Of whoever flushes.
  std::uint64_t synced;         // records below it were on the disk at the last flush
  std::uint64_t merges_synced;  // overwrites that were
  std::array<char, 48> sync_padding;
  std::uint32_t state;
  std::uint32_t generation;                       // grows with each recovery that had to search
  std::array<std::uint8_t, kBootIdSize> boot_id;  // of the boot in which the writer ran
  std::uint32_t writer_pid;
  std::uint32_t reserved_word;
  std::uint64_t opened_ns;           // Unix time at which it began; for people only
  std::uint64_t damaged;             // records that were found damaged, ever
  std::uint64_t lost_unsynced;       // records that a power cut took before they were flushed, ever
  std::uint64_t overwritten_before;  // records that were dropped when the file was last resized
  std::uint64_t known_holes;         // sequence numbers among the live ones that have no record
  std::array<char, 312> reserved_sector;
  // Sector 1: the frame of the overwrite that is under way, or of the last one.
  std::array<std::uint8_t, kSectorSize> redo;
  std::array<char, 3068> reserved;
  std::uint32_t checksum;  // CRC-32C of all bytes before it; only meaningful while kClosed
};

inline constexpr std::uint64_t kSuperblockAOffset = 0;
inline constexpr std::uint64_t kSuperblockBOffset = kPageSize;
inline constexpr std::uint64_t kStateOffset = 2 * kPageSize;
inline constexpr std::uint64_t kCellsOffset = 3 * kPageSize;
inline constexpr std::uint64_t kNextOffset = kStateOffset + offsetof(StatePage, next);
inline constexpr std::uint64_t kMergesOffset = kStateOffset + offsetof(StatePage, merges);
inline constexpr std::uint64_t kSyncedOffset = kStateOffset + offsetof(StatePage, synced);
inline constexpr std::uint64_t kMergesSyncedOffset =
    kStateOffset + offsetof(StatePage, merges_synced);
inline constexpr std::uint64_t kOpenedOffset = kStateOffset + offsetof(StatePage, opened_ns);
inline constexpr std::uint64_t kRedoOffset = kStateOffset + offsetof(StatePage, redo);
inline constexpr std::uint64_t kChecksumOffset = kPageSize - 4;  // within its page

static_assert(sizeof(Superblock) == kPageSize && std::is_trivially_copyable_v<Superblock>);
static_assert(offsetof(Superblock, layout_version) == 8);
static_assert(offsetof(Superblock, byte_order_mark) == 12);
static_assert(offsetof(Superblock, header_length) == 16);
static_assert(offsetof(Superblock, cell_size) == 20);
static_assert(offsetof(Superblock, record_size) == 24);
static_assert(offsetof(Superblock, frame_size) == 28);
static_assert(offsetof(Superblock, frames_per_cell) == 32);
static_assert(offsetof(Superblock, flags) == 36);
static_assert(offsetof(Superblock, capacity) == 40);
static_assert(offsetof(Superblock, slot_count) == 48);
static_assert(offsetof(Superblock, file_length) == 56);
static_assert(offsetof(Superblock, file_id) == 64);
static_assert(offsetof(Superblock, created_ns) == 80);
static_assert(offsetof(Superblock, first_sequence) == 88);
static_assert(offsetof(Superblock, magic) == 96);
static_assert(offsetof(Superblock, reserved) == 224);
static_assert(offsetof(Superblock, checksum) == kChecksumOffset);

static_assert(sizeof(StatePage) == kPageSize && std::is_trivially_copyable_v<StatePage>);
static_assert(offsetof(StatePage, next) == 0);
static_assert(offsetof(StatePage, merges) == 8);
static_assert(offsetof(StatePage, synced) == 64, "a cache line of its own");
static_assert(offsetof(StatePage, merges_synced) == 72);
static_assert(offsetof(StatePage, state) == 128);
static_assert(offsetof(StatePage, generation) == 132);
static_assert(offsetof(StatePage, boot_id) == 136);
static_assert(offsetof(StatePage, writer_pid) == 152);
static_assert(offsetof(StatePage, opened_ns) == 160);
static_assert(offsetof(StatePage, damaged) == 168);
static_assert(offsetof(StatePage, lost_unsynced) == 176);
static_assert(offsetof(StatePage, overwritten_before) == 184);
static_assert(offsetof(StatePage, known_holes) == 192);
static_assert(offsetof(StatePage, redo) == kSectorSize, "a sector of its own");
static_assert(offsetof(StatePage, checksum) == kChecksumOffset);

constexpr std::uint64_t RoundUp(std::uint64_t value, std::uint64_t unit) {
  return (value + unit - 1) / unit * unit;
}

constexpr std::uint64_t FrameSize(std::uint64_t record_size) {
  return RoundUp(record_size + kFrameTailSize, kFrameAlignment);
}

constexpr std::uint64_t FramesPerCell(std::uint64_t frame_size) { return kCellSize / frame_size; }

// The smallest number of slots for `capacity` records that fills whole pages.
constexpr std::uint64_t SlotCount(std::uint64_t capacity, std::uint64_t frames_per_cell) {
  const std::uint64_t slack = std::max(kMinSlack, capacity / kSlackDivisor);
  return RoundUp(capacity + slack, frames_per_cell * (kPageSize / kCellSize));
}

// Bytes of a file with so many slots, the last cell filled up.
constexpr std::uint64_t FileLength(std::uint64_t slots, std::uint64_t frames_per_cell) {
  return kCellsOffset + (slots + frames_per_cell - 1) / frames_per_cell * kCellSize;
}

static_assert(FrameSize(72) == 80 && FramesPerCell(80) == 6);
static_assert(FrameSize(64) == 72 && FramesPerCell(72) == 7);
static_assert(FrameSize(60) == 72);
static_assert(FrameSize(kMaxRecordSize) == kCellSize);
static_assert(SlotCount(kMaxRecords, 1) < (std::uint64_t{1} << 32U),
              "slot numbers fit 32 bits, and no product of header numbers overflows");

}  // namespace packetdb::host
