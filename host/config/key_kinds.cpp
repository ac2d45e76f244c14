#include "host/config/key_kinds.h"

#include <variant>

namespace packetdb::host {

NumberOrWhy ReadNumber(const Node& node, const NumberRange& range) {
  const auto* const number = std::get_if<std::int64_t>(&node.value);
  if (number == nullptr) return {};
  if (*number < range.lowest) return {std::nullopt, "that is too small"};
  if (*number > range.highest) return {std::nullopt, "that is too large"};
  return {*number, ""};
}

NumberOrWhy ReadWithUnit(const Node& node, const UnitRange& range, ParseUnit parse) {
  if (std::holds_alternative<std::int64_t>(node.value)) return {std::nullopt, "a unit is missing"};
  const auto* const text = std::get_if<std::string>(&node.value);
  const auto number = text == nullptr ? std::nullopt : parse(*text);
  if (!number) return {};
  if (*number < range.lowest) return {std::nullopt, "that is too small"};
  if (*number > range.highest) return {std::nullopt, "that is too large"};
  if (*number % range.step != 0) return {std::nullopt, "that is between two steps"};
  return {*number, ""};
}

std::string TakesNumber(const NumberRange& range) {
  return fmt::format("a whole number from {} to {}", range.lowest, range.highest);
}

std::string TakesUnit(const char* what, const UnitRange& range, ShowUnit show) {
  std::string takes = fmt::format("{} from {} to {}", what, Quoted(show(range.lowest)),
                                  Quoted(show(range.highest)));
  if (range.step > 1) takes += fmt::format(" in steps of {}", Quoted(show(range.step)));
  return takes;
}

}  // namespace packetdb::host
