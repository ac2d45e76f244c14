#include "host/journals/names.h"

#include <algorithm>
#include <fmt/format.h>

namespace packetdb::host {

namespace {

bool IsFileNameByte(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' ||
         c == '-' || c == '.';
}

bool IsInterfaceByte(char c) {
  const auto byte = static_cast<unsigned char>(c);
  return byte > ' ' && byte != 0x7F && c != '/';
}

bool HasNameLength(std::string_view name) { return !name.empty() && name.size() <= kLongestName; }

std::string PathInDirectory(const std::string& directory, std::string_view group,
                            std::string_view suffix) {
  return directory + "/" + std::string(group) + std::string(suffix);
}

}  // namespace

bool IsGroupName(std::string_view name) {
  return HasNameLength(name) && name.front() != '.' &&
         std::all_of(name.begin(), name.end(), IsFileNameByte);
}

std::string DescribeBadGroupName(std::string_view name) {
  return fmt::format(
      "'{}' cannot be the name of a group: 1 to {} letters, digits, '_', '-' or '.', not in front",
      name, kLongestName);
}

bool IsInterfaceName(std::string_view name) {
  return HasNameLength(name) && std::all_of(name.begin(), name.end(), IsInterfaceByte);
}

std::string JournalPath(const std::string& directory, std::string_view group) {
  return PathInDirectory(directory, group, kJournalSuffix);
}

std::string CataloguePath(const std::string& directory, std::string_view group) {
  return PathInDirectory(directory, group, kCatalogueSuffix);
}

}  // namespace packetdb::host
