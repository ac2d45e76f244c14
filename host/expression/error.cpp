#include "host/expression/error.h"

#include <algorithm>
#include <fmt/format.h>
#include <utility>

namespace packetdb::host::expression {
namespace {

constexpr std::size_t kShownBefore = 40;  // characters of the expression, before the place
constexpr std::size_t kShownAfter = 32;   // and from it on
constexpr std::string_view kCut = "...";

bool ContinuesCharacter(char c) { return (static_cast<unsigned char>(c) & 0xC0U) == 0x80; }

std::size_t Characters(std::string_view text) {
  return text.size() -
         static_cast<std::size_t>(std::count_if(text.begin(), text.end(), ContinuesCharacter));
}

// A control character would end the line, or do worse to a terminal.
std::string Printable(std::string_view text) {
  std::string shown(text);
  std::replace_if(
      shown.begin(), shown.end(),
      [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; }, '?');
  return shown;
}

// Up to a number of bytes; a character is not cut in two.
std::string LastOf(std::string_view text) {
  if (text.size() <= kShownBefore) return Printable(text);
  std::size_t from = text.size() - kShownBefore;
  while (from < text.size() && ContinuesCharacter(text[from])) ++from;
  return std::string(kCut) + Printable(text.substr(from));
}

std::string FirstOf(std::string_view text) {
  if (text.size() <= kShownAfter) return Printable(text);
  std::size_t end = kShownAfter;
  while (end > 0 && ContinuesCharacter(text[end])) --end;
  return Printable(text.substr(0, end)) + std::string(kCut);
}

}  // namespace

ExpressionError::ExpressionError(std::size_t offset, std::size_t length, const std::string& message,
                                 std::string expected, std::string suggestion)
    : std::runtime_error(message),
      offset_(offset),
      length_(length),
      expected_(std::move(expected)),
      suggestion_(std::move(suggestion)) {}

std::size_t ColumnOf(std::string_view expression, const ExpressionError& error) {
  return Characters(expression.substr(0, error.offset())) + 1;
}

std::string Render(std::string_view expression, const ExpressionError& error,
                   std::string_view program) {
  const std::string_view place = expression.substr(error.offset());
  const std::string before = LastOf(expression.substr(0, error.offset()));
  const std::size_t marked =
      std::clamp<std::size_t>(Characters(place.substr(0, error.length())), 1, kShownAfter);
  const std::string hint = error.suggestion().empty()
                               ? ""
                               : fmt::format("; did you mean {}?", Printable(error.suggestion()));
  return fmt::format("{}: column {}: {}\n  {}{}\n  {:{}}^{:~>{}} expected {}{}\n", program,
                     ColumnOf(expression, error), Printable(error.message()), before,
                     FirstOf(place), "", Characters(before), "", marked - 1, error.expected(),
                     hint);
}

}  // namespace packetdb::host::expression
