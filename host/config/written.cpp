#include "host/config/written.h"

#include <fmt/format.h>
#include <iterator>
#include <variant>

namespace packetdb::host {
namespace {

constexpr std::size_t kLongestShown = 64;  // bytes

bool ContinuesCharacter(char c) { return (static_cast<unsigned char>(c) & 0xC0U) == 0x80U; }

// Cuts between two characters, not within one.
std::string_view Shortened(std::string_view text) {
  std::size_t size = kLongestShown;
  while (size > 0 && ContinuesCharacter(text[size])) --size;
  return text.substr(0, size);
}

struct Writer {
  std::string operator()(const OtherValue& other) const { return std::string(other.kind); }
  std::string operator()(bool flag) const { return flag ? "true" : "false"; }
  std::string operator()(std::int64_t number) const { return std::to_string(number); }
  std::string operator()(const std::string& text) const {
    if (text.size() <= kLongestShown) return Quoted(text);
    return fmt::format("{}… ({} bytes)", Quoted(Shortened(text)), text.size());
  }
  std::string operator()(const List&) const { return "a list"; }
  std::string operator()(const Table&) const { return "a table"; }
};

}  // namespace

std::string WithoutControl(std::string_view text) {
  std::string escaped;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte < 0x20 || byte == 0x7F) {
      fmt::format_to(std::back_inserter(escaped), "\\u{:04X}", byte);
    } else {
      escaped += c;
    }
  }
  return escaped;
}

std::string Quoted(std::string_view text) {
  std::string marked;
  for (const char c : text) {
    if (c == '"' || c == '\\') marked += '\\';
    marked += c;
  }
  return '"' + WithoutControl(marked) + '"';
}

std::string QuotedList(const std::vector<std::string>& texts) {
  std::vector<std::string> quoted;
  quoted.reserve(texts.size());
  for (const std::string& text : texts) quoted.push_back(Quoted(text));
  return fmt::format("[{}]", fmt::join(quoted, ", "));
}

std::string Written(const Node& node) { return std::visit(Writer(), node.value); }

}  // namespace packetdb::host
