#include <string>
#include <string_view>

#include "platform/log.h"

namespace {

// Where the qualified name that ends at `end` begins: behind the last blank that is in no brackets.
std::size_t NameStart(std::string_view signature, std::size_t end) {
  int depth = 0;
  std::size_t start = end;
  while (start > 0) {
    const char c = signature[start - 1];
    depth += (c == '>' || c == ')' || c == '}') - (c == '<' || c == '(' || c == '{');
    if (depth == 0 && (c == ' ' || c == '*' || c == '&')) {
      break;
    }
    --start;
  }
  return start;
}

}  // namespace

// "int packetdb::DbFileStorage::Init(const std::string&, ...)" becomes
// "packetdb::DbFileStorage::Init"; the short name stands in where it is not found.
std::string ClUnilogFname(const char* signature, const char* shortName) {
  const std::string_view text(signature);
  const std::size_t name = text.find(std::string(shortName) + "(");
  if (name == std::string_view::npos) {
    return shortName;
  }
  const std::size_t start = NameStart(text, name);
  return std::string(text.substr(start, name - start)) + shortName;
}
