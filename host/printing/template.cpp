#include "host/printing/template.h"

#include <charconv>
#include <fmt/format.h>

#include "host/printing/options.h"

namespace packetdb::host {
namespace {

[[noreturn]] void RefuseTemplate(std::string_view text, const std::string& reason) {
  throw PrintError(fmt::format(
      "template '{}' makes no sense: {}; give fields as {{src}} or {{count:>8}}", text, reason));
}

// What stands between braces: "count:>8".
TemplatePart ReadField(std::string_view field, std::string_view text) {
  constexpr std::size_t kWidest = 1000;
  TemplatePart part;
  const std::size_t colon = field.find(':');
  part.name = field.substr(0, colon);
  if (part.name.empty()) RefuseTemplate(text, "{} names no field");
  if (colon == std::string_view::npos) return part;
  std::string_view rest = field.substr(colon + 1);
  if (!rest.empty() && std::string_view("<>^").find(rest.front()) != std::string_view::npos) {
    part.alignment = rest.front();
    rest.remove_prefix(1);
  }
  const auto read = std::from_chars(rest.data(), rest.data() + rest.size(), part.width);
  if (read.ec != std::errc() || read.ptr != rest.data() + rest.size() || part.width > kWidest) {
    RefuseTemplate(text, fmt::format("'{}' is no width: >8, <8, ^8 and 8 are, up to {}",
                                     field.substr(colon + 1), kWidest));
  }
  return part;
}

char Unescaped(std::string_view rest, std::string_view text) {
  const char letter = rest.size() > 1 ? rest[1] : ' ';
  if (letter == 'n') return '\n';
  if (letter == 't') return '\t';
  if (letter == '\\') return '\\';
  RefuseTemplate(text, "behind a backslash stands n, t or a backslash");
}

}  // namespace

std::vector<TemplatePart> ParseTemplate(std::string_view text) {
  std::vector<TemplatePart> parts;
  std::string before;
  std::string_view rest = text;
  while (!rest.empty()) {
    std::size_t size = 1;
    if (rest.starts_with("{{") || rest.starts_with("}}") || rest.front() == '\\') {
      before += rest.front() == '\\' ? Unescaped(rest, text) : rest.front();
      size = 2;
    } else if (rest.front() == '{') {
      size = rest.find('}') + 1;
      if (size == 0) RefuseTemplate(text, "a { has no } behind it ({{ is a brace)");
      parts.push_back(ReadField(rest.substr(1, size - 2), text));
      parts.back().before.swap(before);
    } else if (rest.front() == '}') {
      RefuseTemplate(text, "a } has no { before it (}} is a brace)");
    } else {
      before += rest.front();
    }
    rest.remove_prefix(size);
  }
  if (parts.empty()) RefuseTemplate(text, "it has no field");
  parts.push_back({before, "", '<', 0});
  return parts;
}

}  // namespace packetdb::host
