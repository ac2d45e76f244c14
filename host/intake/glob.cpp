#include "host/intake/glob.h"

#include <cstddef>

namespace packetdb::host {

// Where a byte does not fit, the last * takes one byte more. Earlier ones need not be tried again:
// what they could take instead, the last one can take as well.
bool GlobMatches(std::string_view pattern, std::string_view text) {
  std::size_t p = 0;
  std::size_t t = 0;
  std::size_t star = std::string_view::npos;  // behind the last *
  std::size_t taken = 0;                      // where its text ends
  while (t < text.size()) {
    if (p < pattern.size() && pattern[p] == '*') {
      star = ++p;
      taken = t;
    } else if (p < pattern.size() && (pattern[p] == '?' || pattern[p] == text[t])) {
      ++p;
      ++t;
    } else if (star != std::string_view::npos) {
      p = star;
      t = ++taken;
    } else {
      return false;
    }
  }
  return pattern.find_first_not_of('*', p) == std::string_view::npos;
}

bool IsGlob(std::string_view pattern) {
  return pattern.find_first_of("*?") != std::string_view::npos;
}

}  // namespace packetdb::host
