// JSON objects as lines of output.
#pragma once

#include <cstdint>
#include <nlohmann/json.hpp>
#include <string>

namespace packetdb::host {

// Members keep the order in which they were added.
using OrderedJson = nlohmann::ordered_json;

// The object in one line, with its line feed. Bytes that are no UTF-8 become U+FFFD: a path may
// hold any.
std::string JsonLine(const OrderedJson& object);

// Adds a time since 1980 as `name` in RFC 3339 and as `name`_unix in Unix seconds.
void AddJournalTime(OrderedJson& object, const std::string& name, std::uint32_t seconds);

}  // namespace packetdb::host
