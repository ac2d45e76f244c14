#include "host/intake/rule_file.h"

#include <algorithm>
#include <fmt/format.h>
#include <optional>
#include <utility>

#include "host/intake/rule_line.h"
#include "host/journals/error.h"

namespace packetdb::host {

namespace {

// Numbers are given in the order of the lines. A line that cannot be read and stands behind the
// highest number may have given another; one that lost its end, as many as fit into it.
std::uint32_t NumbersPerhapsIn(std::string_view line) {
  const std::size_t bytes = std::min(line.size(), kLongestRuleLine);
  return static_cast<std::uint32_t>(std::max<std::size_t>(1, bytes / kShortestRuleLine));
}

class Parser {
 public:
  explicit Parser(const std::string& path) : path_(path) {}

  void TakeLine(std::string_view line) {
    ++number_;
    std::optional<RuleEntry> entry = ParseRuleLine(line);
    if (entry) {
      file_.next_number = std::max(file_.next_number, entry->number + 1);
      file_.entries.push_back(std::move(*entry));
    } else if (number_ != 1 || line != kRuleDictionaryTitle) {
      is_titled_ = is_titled_ && number_ != 1;
      TakeDamaged(line);
    }
    file_.whole_bytes += line.size() + 1;
  }

  void TakeUnended(std::string_view rest) {
    if (!rest.empty()) {
      file_.next_number += NumbersPerhapsIn(rest);
    }
  }

  // A damaged title is no reason to do without the entries below it.
  RuleFile Finish() && {
    if (number_ == 0 || (!is_titled_ && file_.entries.empty())) {
      throw JournalError(fmt::format("{}:1: not a rule dictionary", path_));
    }
    return std::move(file_);
  }

 private:
  void TakeDamaged(std::string_view line) {
    file_.problems.push_back(
        fmt::format("{}:{}: a damaged line, which is passed over", path_, number_));
    if (number_ != 1) {
      file_.next_number += NumbersPerhapsIn(line);
    }
  }

  const std::string& path_;
  std::size_t number_ = 0;  // of the line
  bool is_titled_ = true;
  RuleFile file_;
};

}  // namespace

RuleFile ParseRuleFile(std::string_view text, const std::string& path) {
  Parser parser(path);
  std::size_t begin = 0;
  for (std::size_t end = text.find('\n'); end != std::string_view::npos;
       end = text.find('\n', begin)) {
    parser.TakeLine(text.substr(begin, end - begin));
    begin = end + 1;
  }
  parser.TakeUnended(text.substr(begin));
  return std::move(parser).Finish();
}

}  // namespace packetdb::host
