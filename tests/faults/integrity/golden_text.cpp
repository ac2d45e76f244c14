#include "tests/faults/integrity/golden_text.h"

#include <algorithm>
#include <cctype>
#include <fmt/format.h>
#include <sstream>
#include <stdexcept>

namespace packetdb::faults {
namespace {

constexpr std::size_t kBytesInLine = 32;

void PutHex(const std::string& hex, std::size_t offset, Bytes* bytes) {
  if (hex.size() % 2 != 0) throw std::runtime_error("half a byte in a golden file");
  bytes->resize(std::max(bytes->size(), offset + hex.size() / 2));
  for (std::size_t i = 0; i < hex.size(); i += 2) {
    std::size_t used = 0;
    const int byte = std::stoi(hex.substr(i, 2), &used, 16);
    if (used != 2) throw std::runtime_error("no hexadecimal number in a golden file");
    (*bytes)[offset + i / 2] = static_cast<std::byte>(byte);
  }
}

}  // namespace

std::string TextOf(const Bytes& bytes) {
  std::string text;
  for (std::size_t offset = 0; offset < bytes.size(); offset += kBytesInLine) {
    const auto begin = bytes.begin() + static_cast<std::ptrdiff_t>(offset);
    const auto end =
        bytes.begin() + static_cast<std::ptrdiff_t>(std::min(offset + kBytesInLine, bytes.size()));
    if (std::all_of(begin, end, [](std::byte byte) { return byte == std::byte{0}; })) continue;
    text += fmt::format("{:08x}  ", offset);
    for (auto at = begin; at != end; ++at) text += fmt::format("{:02x}", std::to_integer<int>(*at));
    text += '\n';
  }
  return text + fmt::format("{:08x}\n", bytes.size());
}

Bytes BytesOf(const std::string& text) {
  Bytes bytes;
  std::istringstream lines(text);
  std::string line;
  std::size_t length = 0;
  while (std::getline(lines, line)) {
    std::istringstream words(line);
    std::string hex;
    if (!(words >> std::hex >> length)) throw std::runtime_error("no offset: " + line);
    if (words >> hex) PutHex(hex, length, &bytes);
  }
  if (length < bytes.size()) throw std::runtime_error("a golden file without its length");
  bytes.resize(length);
  return bytes;
}

}  // namespace packetdb::faults
