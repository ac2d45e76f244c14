#include "host/record_file/check_header.h"

#include <algorithm>
#include <cstddef>

#include "host/record_file/check_zeros.h"

namespace packetdb::host {
namespace {

struct Rule {
  std::size_t position;
  bool (*holds)(const HeaderPage& header);
  const char* otherwise;
};

constexpr Rule kRules[] = {
    {offsetof(HeaderPage, layout_version),
     [](const HeaderPage& h) { return h.layout_version == kLayoutVersion; },
     "the layout version is not 1"},
    {offsetof(HeaderPage, byte_order_mark),
     [](const HeaderPage& h) { return h.byte_order_mark == kByteOrderMark; },
     "the byte-order mark is not 0x01020304"},
    {offsetof(HeaderPage, header_length),
     [](const HeaderPage& h) { return h.header_length == kPageSize; },
     "the header length is not 4096"},
    {offsetof(HeaderPage, record_size),
     [](const HeaderPage& h) { return h.record_size >= 1 && h.record_size <= kMaxRecordSize; },
     "the record size is not from 1 to 1048576"},
    {offsetof(HeaderPage, slot_size),
     [](const HeaderPage& h) { return h.slot_size == SlotSize(h.record_size); },
     "the slot size is not the record size rounded up to a multiple of 8"},
    {offsetof(HeaderPage, flags), [](const HeaderPage& h) { return h.flags == 0; },
     "a flag is set"},
    {offsetof(HeaderPage, capacity), [](const HeaderPage& h) { return h.capacity <= kMaxRecords; },
     "the capacity is beyond 2147483647"},
    {offsetof(HeaderPage, slot_count),
     [](const HeaderPage& h) {
       return h.slot_count == (h.capacity == 0 ? 0 : h.capacity + kSpareSlots);
     },
     "the slot count does not go with the capacity"},
    {offsetof(HeaderPage, slots_offset),
     [](const HeaderPage& h) { return h.slots_offset == SlotsOffset(h.slot_size); },
     "the slots do not begin where the slot size puts them"},
    {offsetof(HeaderPage, first_sequence),
     [](const HeaderPage& h) { return h.first_sequence < kMaxSequence; },
     "the first sequence number is beyond 2^62"},
};

bool IsZero(char byte) { return byte == '\0'; }

void CheckMagic(const HeaderPage& header, const FindingSink& sink) {
  const std::size_t used = MagicOf(header).size();
  const auto* const padding = header.magic.begin() + used;
  const auto* const stray = std::find_if_not(padding, header.magic.end(), IsZero);
  const auto at = static_cast<std::size_t>(stray - header.magic.begin());
  if (used == kMagicSize) {
    sink({offsetof(HeaderPage, magic) + kMagicSize - 1, Severity::kDamage, kFindNumber,
          "the magic does not end"});
  } else if (at != kMagicSize) {
    sink({offsetof(HeaderPage, magic) + at, Severity::kDamage, kFindNumber,
          "the magic is not filled up with zeros"});
  }
}

void CheckReserved(const HeaderPage& header, const FindingSink& sink) {
  Runs runs(kPaddingGap, [&sink](const ByteRange& run) {
    sink({run.begin, Severity::kDamage, kFindReserved,
          "reserved bytes of the header are not 0 " + LengthText(run)});
  });
  AddWrongBytes(header.reserved.data(), header.reserved.data() + header.reserved.size(),
                offsetof(HeaderPage, reserved), &runs);
  runs.End();
}

void CheckSignature(const HeaderPage& header, const FindingSink& sink) {
  const auto* const wrong =
      std::mismatch(header.signature.begin(), header.signature.end(), kSignature.begin()).first;
  if (wrong == header.signature.end()) return;
  sink({static_cast<std::uint64_t>(wrong - header.signature.begin()), Severity::kDamage,
        kFindSignature, "the signature is damaged"});
}

// The header as it would be with a right signature and a checksum to go with it.
HeaderPage Sealed(HeaderPage header) {
  header.signature = kSignature;
  header.checksum = HeaderChecksum(header);
  return header;
}

void CheckLength(std::uint64_t length, const Geometry& geometry, const FindingSink& sink) {
  const bool bounded = geometry.capacity != 0;
  const std::uint64_t wanted =
      bounded ? FileLength(geometry, geometry.slot_count) : geometry.slots_offset;
  if (length < wanted) {
    sink({length, Severity::kDamage, kFindLength,
          "the file ends here; by its header it is " + std::to_string(wanted) + " bytes long" +
              (bounded ? "" : " or longer")});
  } else if (bounded && length > wanted) {
    sink({wanted, Severity::kDamage, kFindLength,
          "the file goes on here, to " + std::to_string(length) + " bytes"});
  }
}

}  // namespace

RecordFileResult RecogniseHeader(const HeaderPage& header, std::uint64_t got) {
  if (got == 0) return kEmptyFile;
  HeaderPage repaired = header;
  repaired.signature = kSignature;
  const bool is_signed = got >= kSignature.size() && header.signature == kSignature;
  const bool is_whole = got >= kPageSize && header.checksum == HeaderChecksum(repaired);
  if (!is_signed && !is_whole) return kNotARecordFile;
  if (got < kPageSize) return kRecordFileOk;
  if (header.byte_order_mark == kSwappedByteOrderMark) return kOtherByteOrder;
  const bool is_ours = header.layout_version == kLayoutVersion && header.flags == 0;
  return is_whole && !is_ours ? kUnsupportedLayout : kRecordFileOk;
}

bool CheckHeader(const HeaderPage& header, std::uint64_t got, std::uint64_t length,
                 const FindingSink& sink, Geometry* geometry) {
  if (got < kPageSize) {
    sink({got, Severity::kDamage, kFindLength, "the file ends here, within its header"});
    return false;
  }
  CheckSignature(header, sink);
  HeaderPage repaired = header;
  repaired.signature = kSignature;
  if (header.checksum != HeaderChecksum(repaired)) {
    sink({kChecksumOffset, Severity::kDamage, kFindChecksum,
          "the checksum does not go with the header: a bit of bytes 0 to 4095 has changed"});
  }
  for (const Rule& rule : kRules) {
    if (!rule.holds(header)) sink({rule.position, Severity::kDamage, kFindNumber, rule.otherwise});
  }
  CheckMagic(header, sink);
  CheckReserved(header, sink);
  if (VerifyHeader(Sealed(header), got, WantedLength(header, length), geometry) < 0) return false;
  CheckLength(length, *geometry, sink);
  return true;
}

std::uint64_t WantedLength(const HeaderPage& header, std::uint64_t length) {
  return header.capacity == 0 ? std::max(length, header.slots_offset)
                              : header.slots_offset + header.slot_count * header.slot_size;
}

}  // namespace packetdb::host
