#include "host/config/name_rules.h"

#include <algorithm>
#include <fmt/format.h>

#include "host/config/text_rules.h"
#include "host/journals/names.h"

namespace packetdb::host {
namespace {

using Why = std::optional<std::string>;

bool IsLower(char c) { return c >= 'a' && c <= 'z'; }

bool IsWordByte(char c) { return IsLower(c) || (c >= '0' && c <= '9') || c == '-'; }

Why WhyNoInterface(const std::string& name, const Reading&) {
  if (IsInterfaceName(name)) return std::nullopt;
  if (HasControl(name)) return "there is a control character in it";
  return name.empty() || name.size() <= kLongestName ? std::string()
                                                     : fmt::format("it has {} bytes", name.size());
}

}  // namespace

TextRule InterfaceName() {
  return {
      fmt::format("the name of an interface, 1 to {} bytes without blanks and '/'", kLongestName),
      "eth0", WhyNoInterface};
}

TextRule JournalName() {
  return {
      fmt::format("a name of 1 to {} letters, digits, '_', '-' or '.', not in front", kLongestName),
      "lan", [](const std::string& name, const Reading&) -> Why {
        return IsGroupName(name) ? Why() : Why("");
      }};
}

TextRule InterfacePatterns() {
  return {fmt::format("a list of names of interfaces, 1 to {} bytes without blanks and '/', in "
                      "which * stands for any text and ? for any character",
                      kLongestName),
          "eth*", WhyNoInterface};
}

bool IsWord(std::string_view name) {
  return !name.empty() && name.size() <= kLongestName && IsLower(name.front()) &&
         std::all_of(name.begin(), name.end(), IsWordByte);
}

std::string DescribeWord() {
  return fmt::format("1 to {} lower-case letters, digits and '-', a letter first", kLongestName);
}

}  // namespace packetdb::host
