// Answers as text.
#pragma once

#include <cstdio>
#include <string>
#include <vector>

#include "packetdb/query.h"

namespace packetdb::host {

using Rows = std::vector<PacketDbClientItem>;

// A table with a head, times in local time, columns as wide as what they hold.
void PrintTable(const Rows& rows, std::FILE* out);

// One JSON object per line.
void PrintJson(const Rows& rows, std::FILE* out);

// "10.0.0.7" from host byte order.
std::string AddressText(std::uint32_t address);

}  // namespace packetdb::host
