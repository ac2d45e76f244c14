#include "host/record_file/state.h"

#include <array>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

#include "host/record_file/crc32c.h"
#include "host/record_file/descriptor.h"
#include "host/record_file/unix_time.h"

namespace packetdb::host {
namespace {

using BootId = std::array<std::uint8_t, kBootIdSize>;

int HexDigit(char character) {
  if (character >= '0' && character <= '9') return character - '0';
  if (character >= 'a' && character <= 'f') return character - 'a' + 10;
  return -1;
}

// The kernel writes a UUID as 32 lower-case hex digits with dashes between (proc(5)).
BootId ParseUuid(const char* text, std::size_t length) {
  BootId id = {};
  std::size_t digits = 0;
  for (std::size_t i = 0; i < length && digits < 2 * id.size(); ++i) {
    const int digit = HexDigit(text[i]);
    if (digit < 0) continue;
    const auto high = static_cast<std::uint8_t>(id[digits / 2] << 4U);
    id[digits / 2] = static_cast<std::uint8_t>(high | static_cast<unsigned int>(digit));
    ++digits;
  }
  return digits == 2 * id.size() ? id : BootId{};
}

// All zeros when the kernel does not tell: then no file is of this boot.
BootId ReadBootId() {
  const Descriptor file(open("/proc/sys/kernel/random/boot_id", O_RDONLY | O_CLOEXEC));
  std::array<char, 64> text = {};
  const ssize_t got = file.IsOpen() ? read(file.get(), text.data(), text.size()) : -1;
  return got < 0 ? BootId{} : ParseUuid(text.data(), static_cast<std::size_t>(got));
}

const BootId& ThisBoot() {
  static const BootId id = ReadBootId();
  return id;
}

}  // namespace

std::uint32_t ChecksumOf(const StatePage& state) { return Crc32c(&state, kChecksumOffset); }

bool IsSoundlyClosed(const StatePage& state) {
  return state.state == kClosed && state.checksum == ChecksumOf(state);
}

StatePage MakeState(std::uint64_t first_sequence, std::uint64_t overwritten_before) {
  StatePage state = {};
  state.next = first_sequence;
  state.synced = first_sequence;
  state.overwritten_before = overwritten_before;
  MarkOpened(kOpen, &state);
  state.state = kClosed;
  state.checksum = ChecksumOf(state);
  return state;
}

void MarkOpened(FileState state, StatePage* page) {
  page->state = state;
  page->boot_id = ThisBoot();
  page->writer_pid = static_cast<std::uint32_t>(getpid());
  page->opened_ns = UnixNanoseconds();
}

bool IsOfThisBoot(const StatePage& state) {
  return ThisBoot() != BootId{} && state.boot_id == ThisBoot();
}

void KnowThisBoot() { ThisBoot(); }

RecordFileResult StoreFacts(const StatePage& state, Medium& medium) {
  constexpr std::uint64_t kBegin = offsetof(StatePage, state);
  constexpr std::uint64_t kEnd = offsetof(StatePage, reserved_sector);
  const auto* const bytes = reinterpret_cast<const std::byte*>(&state);
  // The checksum first: it means nothing until the state says closed.
  RecordFileResult result =
      medium.Write(kStateOffset + kChecksumOffset, &state.checksum, sizeof state.checksum);
  Medium::Fence();
  if (result == kRecordFileOk) {
    result = medium.Write(kStateOffset + kBegin, bytes + kBegin, kEnd - kBegin);
  }
  Medium::Fence();
  return result;
}

RecordFileResult StoreDamage(const StatePage& state, Medium& medium) {
  constexpr std::uint64_t kBegin = offsetof(StatePage, damaged);
  constexpr std::uint64_t kEnd = offsetof(StatePage, reserved_sector);
  const auto* const bytes = reinterpret_cast<const std::byte*>(&state);
  return medium.Write(kStateOffset + kBegin, bytes + kBegin, kEnd - kBegin);
}

}  // namespace packetdb::host
