// What a daemon tells of itself: rows that are objects of JSON (docs/bus_protocol.md has their
// keys). It may be of another release: nothing is taken for granted but that each row has a kind.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/bus/connection.h"
#include "host/cli/exit_code.h"
#include "host/cli/json_text.h"

namespace packetdb::host {

using ToldRows = std::vector<OrderedJson>;

// Asks for the rows of kCommandStatus or kCommandJournals. Anything but kExitOk comes with a
// complaint, and `rows` as it was.
ExitCode AskForRows(Connection& connection, int command, ToldRows* rows);

// The rows of one kind.
ToldRows OfKind(const ToldRows& rows, std::string_view kind);

// A value for people: a number, or a text without control bytes; "-" when there is none.
std::string CellOf(const OrderedJson& row, const std::string& key);
// A whole number that is not negative; none when there is no such thing.
std::optional<std::uint64_t> NumberOf(const OrderedJson& row, const std::string& key);
// A size in bytes; "-" when there is none.
std::string BytesCell(const OrderedJson& row, const std::string& key);
// A Unix time, in local time; "-" when there is none.
std::string TimeCell(const OrderedJson& row, const std::string& key);
// What an object is under a key; null when it is missing.
const OrderedJson& PartOf(const OrderedJson& row, const std::string& key);

// The row with each `name`_unix behind the same time in RFC 3339 under `name`.
OrderedJson WithTimes(const OrderedJson& row);

}  // namespace packetdb::host
