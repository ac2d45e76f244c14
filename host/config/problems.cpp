#include "host/config/problems.h"

#include <algorithm>
#include <fmt/format.h>
#include <tuple>
#include <utility>

namespace packetdb::host {

std::size_t Problems::AddFile(std::string path) {
  files_.push_back(std::move(path));
  return files_.size() - 1;
}

void Problems::Add(const Place& place, std::string text) {
  if (found_.size() == kMostProblems) {
    ++not_kept_;
  } else {
    found_.push_back({place, std::move(text)});
  }
}

std::string Problems::Show(const Place& place) const {
  const std::string& file = files_[place.file];
  return place.line == 0 ? file : fmt::format("{}:{}:{}", file, place.line, place.column);
}

std::vector<std::string> Problems::Lines() const {
  std::vector<Problem> sorted = found_;
  std::stable_sort(sorted.begin(), sorted.end(), [](const Problem& a, const Problem& b) {
    return std::tie(a.place.file, a.place.line, a.place.column) <
           std::tie(b.place.file, b.place.line, b.place.column);
  });
  std::vector<std::string> lines;
  lines.reserve(sorted.size() + 1);
  for (const Problem& problem : sorted) {
    lines.push_back(fmt::format("{}: {}", Show(problem.place), problem.text));
  }
  if (not_kept_ > 0) lines.push_back(fmt::format("and {} problems more", not_kept_));
  return lines;
}

}  // namespace packetdb::host
