#include "host/printing/safe_text.h"

#include <algorithm>
#include <cstdint>
#include <fmt/format.h>
#include <iterator>

namespace packetdb::host {
namespace {

struct Character {
  std::uint32_t code = 0;
  std::size_t size = 0;  // bytes; 0 when there is no character of UTF-8
};

bool IsContinuation(char byte) { return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U; }

// Bytes of a character by its first; 0 where none begins.
std::size_t SizeOf(unsigned char first) {
  if (first < 0x80) return 1;
  if (first >= 0xC2 && first <= 0xDF) return 2;
  if (first >= 0xE0 && first <= 0xEF) return 3;
  return first >= 0xF0 && first <= 0xF4 ? 4 : 0;
}

// The first character of a text that is not empty.
Character FirstOf(std::string_view text) {
  constexpr std::uint32_t kLeastOfSize[] = {0, 0, 0x80, 0x800, 0x10000};
  const auto first = static_cast<unsigned char>(text.front());
  const std::size_t size = SizeOf(first);
  if (size <= 1) return {first, size};
  if (text.size() < size) return {};
  std::uint32_t code = first & (0xFFU >> (size + 1));
  for (std::size_t at = 1; at < size; ++at) {
    if (!IsContinuation(text[at])) return {};
    code = code << 6 | (static_cast<unsigned char>(text[at]) & 0x3FU);
  }
  const bool is_surrogate = code >= 0xD800 && code <= 0xDFFF;
  return code < kLeastOfSize[size] || code > 0x10FFFF || is_surrogate ? Character{}
                                                                      : Character{code, size};
}

// Control characters, some of which begin sequences that terminals obey, and those of Unicode that
// end lines or turn the direction of writing.
bool IsUnsafe(std::uint32_t code) {
  return code < 0x20 || (code >= 0x7F && code <= 0x9F) || (code >= 0x200B && code <= 0x200F) ||
         (code >= 0x2028 && code <= 0x202E) || (code >= 0x2060 && code <= 0x206F) || code == 0xFEFF;
}

// Most texts are of these alone.
bool IsPlain(char c) { return c >= 0x20 && c < 0x7F && c != '\\' && c != '"'; }

void AppendEscaped(std::string_view bytes, std::string* out) {
  for (const char byte : bytes) {
    switch (byte) {
      case '\t':
        out->append("\\t");
        break;
      case '\n':
        out->append("\\n");
        break;
      case '\\':
        out->append("\\\\");
        break;
      default:
        fmt::format_to(std::back_inserter(*out), "\\x{:02x}", static_cast<unsigned char>(byte));
    }
  }
}

void AppendJsonCharacter(const Character& character, std::string_view bytes, std::string* out) {
  if (character.size == 0) {
    out->append("\xEF\xBF\xBD");
  } else if (character.code == '"' || character.code == '\\') {
    out->push_back('\\');
    out->push_back(bytes.front());
  } else if (character.code == '\t' || character.code == '\n') {
    out->append(character.code == '\t' ? "\\t" : "\\n");
  } else if (IsUnsafe(character.code)) {
    fmt::format_to(std::back_inserter(*out), "\\u{:04x}", character.code);
  } else {
    out->append(bytes);
  }
}

}  // namespace

void AppendSafe(std::string_view text, std::string* out) {
  if (std::all_of(text.begin(), text.end(), IsPlain)) {
    out->append(text);
    return;
  }
  while (!text.empty()) {
    const Character character = FirstOf(text);
    const std::string_view bytes = text.substr(0, std::max<std::size_t>(1, character.size));
    const bool stays = character.size != 0 && character.code != '\\' && !IsUnsafe(character.code);
    stays ? void(out->append(bytes)) : AppendEscaped(bytes, out);
    text.remove_prefix(bytes.size());
  }
}

void AppendJsonString(std::string_view text, std::string* out) {
  out->push_back('"');
  if (std::all_of(text.begin(), text.end(), IsPlain)) {
    out->append(text);
    text = {};
  }
  while (!text.empty()) {
    const Character character = FirstOf(text);
    const std::string_view bytes = text.substr(0, std::max<std::size_t>(1, character.size));
    AppendJsonCharacter(character, bytes, out);
    text.remove_prefix(bytes.size());
  }
  out->push_back('"');
}

std::size_t WidthOf(std::string_view text) {
  return text.size() -
         static_cast<std::size_t>(std::count_if(text.begin(), text.end(), IsContinuation));
}

std::string CutTo(std::size_t width, const std::string& text) {
  if (WidthOf(text) <= width) return text;
  std::size_t end = 0;
  for (std::size_t columns = 1; columns < width; ++columns) {
    for (++end; end < text.size() && IsContinuation(text[end]);) ++end;
  }
  return text.substr(0, end) + "…";
}

}  // namespace packetdb::host
