// Reading JSON that somebody else wrote: nothing is taken for granted.
#pragma once

#include <cstdint>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>

namespace packetdb::host {

// The member of an object; null for anything else.
const nlohmann::json& Member(const nlohmann::json& object, const char* key);
// A member that is a text; empty for anything else.
std::string TextMember(const nlohmann::json& object, const char* key);
// A whole number from 0 to `highest`, or none for anything else.
std::optional<std::uint64_t> NumberIn(const nlohmann::json& value, std::uint64_t highest);
// Whether it is this text.
bool IsText(const nlohmann::json& value, std::string_view text);

}  // namespace packetdb::host
