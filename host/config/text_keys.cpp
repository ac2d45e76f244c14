#include "host/config/text_keys.h"

#include <algorithm>
#include <variant>

namespace packetdb::host {

std::optional<Refusal> ReadList(const Node& node, const AddElement& add) {
  const auto* const list = std::get_if<List>(&node.value);
  if (list == nullptr) return Refuse(node);
  for (const Node& element : *list) {
    if (auto why = add(element)) return Refuse(element, std::move(*why));
  }
  return std::nullopt;
}

std::optional<Refusal> ReadTexts(const Node& node, const Reading& reading, const TextRule& rule,
                                 std::vector<std::string>& texts) {
  std::vector<std::string> read;
  auto refusal = ReadList(node, [&](const Node& element) -> std::optional<std::string> {
    const auto* const text = std::get_if<std::string>(&element.value);
    if (text == nullptr) return "";
    if (auto why = rule.refuses(*text, reading)) return why;
    if (std::find(read.begin(), read.end(), *text) != read.end()) return "it is there twice";
    read.push_back(*text);
    return std::nullopt;
  });
  if (!refusal) texts = std::move(read);
  return refusal;
}

}  // namespace packetdb::host
