#include "host/rules/json_fields.h"

namespace packetdb::host {

using nlohmann::json;

const json& Member(const json& object, const char* key) {
  static const json nothing;
  if (!object.is_object()) return nothing;
  const auto member = object.find(key);
  return member == object.end() ? nothing : *member;
}

std::string TextMember(const json& object, const char* key) {
  const json& value = Member(object, key);
  return value.is_string() ? value.get<std::string>() : std::string();
}

std::optional<std::uint64_t> NumberIn(const json& value, std::uint64_t highest) {
  if (!value.is_number_unsigned()) return std::nullopt;
  const auto number = value.get<std::uint64_t>();
  return number <= highest ? std::optional(number) : std::nullopt;
}

bool IsText(const json& value, std::string_view text) {
  return value.is_string() && value.get_ref<const std::string&>() == text;
}

}  // namespace packetdb::host
