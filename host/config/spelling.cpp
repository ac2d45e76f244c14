#include "host/config/spelling.h"

#include <algorithm>

namespace packetdb::host {
namespace {

constexpr std::size_t kLongestWord = 64;  // nothing that is longer resembles a word of ours

}  // namespace

std::size_t EditDistance(std::string_view a, std::string_view b) {
  // Three rows of the table in which row i, column j is the distance of the first i letters of
  // `a` from the first j of `b`: a swap looks two rows back.
  std::vector<std::size_t> before_last(b.size() + 1);
  std::vector<std::size_t> last(b.size() + 1);
  std::vector<std::size_t> row(b.size() + 1);
  for (std::size_t j = 0; j <= b.size(); ++j) row[j] = j;
  for (std::size_t i = 1; i <= a.size(); ++i) {
    before_last.swap(last);
    last.swap(row);
    row[0] = i;
    for (std::size_t j = 1; j <= b.size(); ++j) {
      const std::size_t replaced = last[j - 1] + (a[i - 1] == b[j - 1] ? 0 : 1);
      row[j] = std::min({last[j] + 1, row[j - 1] + 1, replaced});
      if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1]) {
        row[j] = std::min(row[j], before_last[j - 2] + 1);
      }
    }
  }
  return row[b.size()];
}

std::optional<std::string> NearestWord(std::string_view word,
                                       const std::vector<std::string>& words) {
  if (word.size() > kLongestWord) return std::nullopt;
  std::optional<std::string> nearest;
  std::size_t least = std::max<std::size_t>(1, word.size() / 3) + 1;
  for (const std::string& candidate : words) {
    const std::size_t distance = EditDistance(word, candidate);
    if (distance < least) {
      least = distance;
      nearest = candidate;
    }
  }
  return nearest;
}

}  // namespace packetdb::host
