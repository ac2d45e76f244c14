#include "host/bus/table_header.h"

#include <utility>

#include "host/bus/byte_order.h"

namespace packetdb::host {
namespace {

// Offsets in the payload.
constexpr std::size_t kKindOffset = 0;
constexpr std::size_t kCountOffset = 4;
constexpr std::size_t kMarkerOffset = 8;
constexpr std::size_t kColumnCountOffset = 9;
constexpr std::size_t kColumnsOffset = 10;

// One column: its declared identifier, then its size, 4 bytes each.
constexpr std::size_t kColumnEntrySize = 8;
constexpr std::size_t kColumnSizeOffset = 4;

static_assert(kMaxColumns <= 255, "the number of columns travels in one byte");
static_assert(kColumnsOffset + kMaxColumns * kColumnEntrySize <= kMaxPayload);

int LoadSigned(const unsigned char* from) { return static_cast<int>(LoadNetwork32(from)); }

BusError DecodeColumns(std::span<const unsigned char> entries, Columns* columns) {
  for (std::size_t at = 0; at < entries.size(); at += kColumnEntrySize) {
    const unsigned char* entry = entries.data() + at;
    const BusError error =
        columns->Add(LoadNetwork32(entry), LoadNetwork32(entry + kColumnSizeOffset));
    if (error != BusError::kNone) return error;
  }
  return BusError::kNone;
}

}  // namespace

BusError CheckTable(const TableHeader& header) {
  if (header.kind != kKindAnswer && header.kind != kKindRequest) return BusError::kBadKind;
  if (header.record_count < kCountNotAnnounced) return BusError::kBadRecordCount;
  if (header.columns.All().empty()) return BusError::kNoColumns;
  if (header.record_count == kCountNotAnnounced && !header.marker) return BusError::kEndlessTable;
  return BusError::kNone;
}

std::vector<unsigned char> EncodeHeader(const TableHeader& header) {
  const std::span<const Column> columns = header.columns.All();
  std::vector<unsigned char> payload(kColumnsOffset + columns.size() * kColumnEntrySize);
  StoreNetwork32(&payload[kKindOffset], static_cast<std::uint32_t>(header.kind));
  StoreNetwork32(&payload[kCountOffset], static_cast<std::uint32_t>(header.record_count));
  payload[kMarkerOffset] = header.marker ? 1 : 0;
  payload[kColumnCountOffset] = static_cast<unsigned char>(columns.size());
  unsigned char* entry = payload.data() + kColumnsOffset;
  for (const Column& column : columns) {
    StoreNetwork32(entry, column.DeclaredId());
    StoreNetwork32(entry + kColumnSizeOffset, column.size);
    entry += kColumnEntrySize;
  }
  return payload;
}

BusError DecodeHeader(std::span<const unsigned char> payload, TableHeader* header) {
  if (payload.size() < kColumnsOffset) return BusError::kMalformedHeader;
  const std::size_t column_count = payload[kColumnCountOffset];
  if (column_count > kMaxColumns) return BusError::kTooManyColumns;
  if (payload.size() != kColumnsOffset + column_count * kColumnEntrySize) {
    return BusError::kMalformedHeader;
  }
  if (payload[kMarkerOffset] > 1) return BusError::kBadMarkerFlag;
  TableHeader decoded;
  decoded.kind = LoadSigned(&payload[kKindOffset]);
  decoded.record_count = LoadSigned(&payload[kCountOffset]);
  decoded.marker = payload[kMarkerOffset] == 1;
  BusError error = DecodeColumns(payload.subspan(kColumnsOffset), &decoded.columns);
  if (error == BusError::kNone) error = CheckTable(decoded);
  if (error == BusError::kNone) *header = std::move(decoded);
  return error;
}

}  // namespace packetdb::host
