// The kinds of keys that most are of. Each function makes a key from the member that it sets.
#pragma once

#include <chrono>
#include <fmt/format.h>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "host/config/key.h"
#include "host/config/units.h"
#include "host/config/written.h"

namespace packetdb::host {

// Members that hold a number, whatever their type.
template <class Number>
void PutNumber(std::int64_t from, Number& to) {
  to = static_cast<Number>(from);
}
template <class Number>
void PutNumber(std::int64_t from, std::optional<Number>& to) {
  to = static_cast<Number>(from);
}
inline void PutNumber(std::int64_t from, std::chrono::milliseconds& to) {
  to = std::chrono::milliseconds(from);
}
template <class Number>
std::optional<std::int64_t> GetNumber(const Number& from) {
  return static_cast<std::int64_t>(from);
}
template <class Number>
std::optional<std::int64_t> GetNumber(const std::optional<Number>& from) {
  if (!from) return std::nullopt;
  return static_cast<std::int64_t>(*from);
}
inline std::optional<std::int64_t> GetNumber(const std::chrono::milliseconds& from) {
  return from.count();
}

struct NumberRange {
  std::int64_t lowest;
  std::int64_t highest;
};
// In bytes or milliseconds. The member holds the value divided by `unit`, which values have to be
// multiples of.
struct UnitRange {
  std::int64_t lowest;
  std::int64_t highest;
  std::int64_t unit = 1;  // of the member
  std::int64_t step = 1;  // a multiple of `unit`
};

// The value of a node that may be taken; else `why`, which may be empty.
struct NumberOrWhy {
  std::optional<std::int64_t> number;
  std::string why;
};
NumberOrWhy ReadNumber(const Node& node, const NumberRange& range);
// `parse` is one of units.h.
using ParseUnit = std::optional<std::int64_t> (*)(std::string_view);
NumberOrWhy ReadWithUnit(const Node& node, const UnitRange& range, ParseUnit parse);
std::string TakesNumber(const NumberRange& range);
using ShowUnit = std::string (*)(std::int64_t);
std::string TakesUnit(const char* what, const UnitRange& range, ShowUnit show);

template <class Settings, class Number>
Key<Settings> NumberKey(std::string name, Number Settings::*member, const NumberRange& range,
                        std::string example, std::string help, Effect effect) {
  return {std::move(name),
          TakesNumber(range),
          std::move(example),
          std::move(help),
          effect,
          "",
          false,
          [member, range](const Node& node, const Reading&,
                          Settings& settings) -> std::optional<Refusal> {
            NumberOrWhy read = ReadNumber(node, range);
            if (!read.number) return Refuse(node, std::move(read.why));
            PutNumber(*read.number, settings.*member);
            return std::nullopt;
          },
          [member](const Settings& settings, const Configuration&) {
            const auto number = GetNumber(settings.*member);
            return number ? std::to_string(*number) : std::string();
          }};
}

struct UnitKind {
  const char* what;  // "a size"
  ParseUnit parse;
  ShowUnit show;
};
inline constexpr UnitKind kSizeKind{"a size", ParseSize, ShowSize};
inline constexpr UnitKind kDurationKind{"a duration", ParseDuration, ShowDuration};

template <class Settings, class Number>
Key<Settings> UnitKey(const UnitKind& kind, std::string name, Number Settings::*member,
                      const UnitRange& range, const std::string& example, std::string help,
                      Effect effect) {
  return {std::move(name),
          TakesUnit(kind.what, range, kind.show),
          Quoted(example),
          std::move(help),
          effect,
          "",
          false,
          [member, range, kind](const Node& node, const Reading&,
                                Settings& settings) -> std::optional<Refusal> {
            NumberOrWhy read = ReadWithUnit(node, range, kind.parse);
            if (!read.number) return Refuse(node, std::move(read.why));
            PutNumber(*read.number / range.unit, settings.*member);
            return std::nullopt;
          },
          [member, range, kind](const Settings& settings, const Configuration&) {
            const auto number = GetNumber(settings.*member);
            return number ? Quoted(kind.show(*number * range.unit)) : std::string();
          }};
}

template <class Settings>
Key<Settings> BooleanKey(std::string name, bool Settings::*member, std::string help,
                         Effect effect) {
  return {std::move(name),
          "true or false",
          "true",
          std::move(help),
          effect,
          "",
          false,
          [member](const Node& node, const Reading&, Settings& settings) -> std::optional<Refusal> {
            const auto* const flag = std::get_if<bool>(&node.value);
            if (flag == nullptr) return Refuse(node);
            settings.*member = *flag;
            return std::nullopt;
          },
          [member](const Settings& settings, const Configuration&) {
            return std::string(settings.*member ? "true" : "false");
          }};
}

// One of a few words, each with the value that it stands for.
template <class Settings, class Value>
Key<Settings> ChoiceKey(std::string name, Value Settings::*member,
                        std::vector<std::pair<std::string, Value>> words, std::string help,
                        Effect effect) {
  std::vector<std::string> names;
  names.reserve(words.size());
  for (const auto& [word, value] : words) names.push_back(Quoted(word));
  return {std::move(name),
          fmt::format("one of {}", fmt::join(names, ", ")),
          names.front(),
          std::move(help),
          effect,
          "",
          false,
          [member, words](const Node& node, const Reading&,
                          Settings& settings) -> std::optional<Refusal> {
            const auto* const text = std::get_if<std::string>(&node.value);
            for (const auto& [word, value] : words) {
              if (text == nullptr || *text != word) continue;
              settings.*member = value;
              return std::nullopt;
            }
            return Refuse(node);
          },
          [member, words](const Settings& settings, const Configuration&) {
            for (const auto& [word, value] : words) {
              if (settings.*member == value) return Quoted(word);
            }
            return std::string();
          }};
}

}  // namespace packetdb::host
