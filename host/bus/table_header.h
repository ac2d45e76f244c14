// The declaration of a table, and its encoding as the payload of a header frame.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "host/bus/columns.h"
#include "host/bus/error.h"

namespace packetdb::host {

inline constexpr int kKindAnswer = 0;
inline constexpr int kKindRequest = 1;
inline constexpr int kCountNotAnnounced = -1;

struct TableHeader {
  int kind = kKindAnswer;
  int record_count = kCountNotAnnounced;
  bool marker = false;  // an end marker follows the records
  Columns columns;
};

// What is wrong with the declaration as a whole; kNone when it may travel.
BusError CheckTable(const TableHeader& header);

// The payload of a header frame.
std::vector<unsigned char> EncodeHeader(const TableHeader& header);

// Fills `header` from a payload of any bytes. Returns kNone, or what the first fault is: a rule
// that a declaration breaks, or kMalformedHeader when the bytes are no declaration; `header` is
// then unchanged.
BusError DecodeHeader(std::span<const unsigned char> payload, TableHeader* header);

}  // namespace packetdb::host
