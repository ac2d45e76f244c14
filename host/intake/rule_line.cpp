#include "host/intake/rule_line.h"

#include <array>
#include <charconv>
#include <fmt/format.h>
#include <utility>

#include "host/intake/quoted_text.h"
#include "host/record_file/crc32c.h"
#include "host/sources/event.h"

namespace packetdb::host {

namespace {

constexpr std::string_view kRule = "rule ";
constexpr std::size_t kSumSize = 9;  // a blank and eight digits

// Keyword, number, since, code, verdict, flags, two quoted texts, sum.
static_assert(kShortestRuleLine <= 5 + 2 + 2 + 2 + 5 + 4 + 4 + 2 + kSumSize + 1);
static_assert(kLongestRuleLine >= 5 + 6 + 21 + 5 + 7 + 11 + (2 + 4 * kLongestRulePrefix + 1) +
                                      (2 + 4 * kLongestRuleText) + kSumSize + 1);

constexpr std::array<std::pair<std::string_view, Verdict>, 4> kVerdictWords = {{
    {"none", Verdict::kNone},
    {"accept", Verdict::kAccept},
    {"drop", Verdict::kDrop},
    {"reject", Verdict::kReject},
}};

std::string SumOf(std::string_view text) {
  return fmt::format(" {:08x}", Crc32c(text.data(), text.size()));
}

// Takes the text up to the next blank off the front; the blank goes too.
std::string_view TakeWord(std::string_view& rest) {
  const std::size_t blank = rest.find(' ');
  const std::string_view word = rest.substr(0, blank);
  rest = blank == std::string_view::npos ? std::string_view() : rest.substr(blank + 1);
  return word;
}

template <class Number>
bool ParseWhole(std::string_view text, int base, Number* number) {
  const char* const end = text.data() + text.size();
  const auto parsed = std::from_chars(text.data(), end, *number, base);
  return parsed.ec == std::errc() && parsed.ptr == end;
}

bool TakeNumbers(std::string_view& rest, RuleEntry* entry) {
  if (!ParseWhole(TakeWord(rest), 10, &entry->number) ||
      !ParseWhole(TakeWord(rest), 10, &entry->since) ||
      !ParseWhole(TakeWord(rest), 10, &entry->meaning.code)) {
    return false;
  }
  const std::optional<Verdict> verdict = RuleVerdictOf(TakeWord(rest));
  std::string_view flags = TakeWord(rest);
  if (!verdict || !flags.starts_with("0x") ||
      !ParseWhole(flags.substr(2), 16, &entry->meaning.flags)) {
    return false;
  }
  entry->meaning.verdict = *verdict;
  return entry->number >= 1 && entry->number <= kHighestRule;
}

bool TakeTexts(std::string_view& rest, RuleEntry* entry) {
  std::optional<std::string> prefix = TakeQuotedText(rest);
  if (!prefix || prefix->empty() || prefix->size() > kLongestRulePrefix || !rest.starts_with(' ')) {
    return false;
  }
  rest.remove_prefix(1);
  std::optional<std::string> text = TakeQuotedText(rest);
  if (!text || text->size() > kLongestRuleText) {
    return false;
  }
  entry->prefix = std::move(*prefix);
  entry->meaning.text = std::move(*text);
  return true;
}

}  // namespace

std::string_view RuleVerdictWord(Verdict verdict) {
  for (const auto& [word, value] : kVerdictWords) {
    if (value == verdict) {
      return word;
    }
  }
  return kVerdictWords.front().first;
}

std::optional<Verdict> RuleVerdictOf(std::string_view word) {
  for (const auto& [known, value] : kVerdictWords) {
    if (known == word) {
      return value;
    }
  }
  return std::nullopt;
}

std::string RuleDictionaryPath(const std::string& directory) {
  return directory + "/" + std::string(kRuleDictionaryName);
}

std::string RuleLine(const RuleEntry& entry) {
  const RuleMeaning& meaning = entry.meaning;
  const std::string line =
      fmt::format("{}{} {} {} {} {:#x} {} {}", kRule, entry.number, entry.since, meaning.code,
                  RuleVerdictWord(meaning.verdict), meaning.flags, QuoteText(entry.prefix),
                  QuoteText(meaning.text));
  return line + SumOf(line);
}

std::optional<RuleEntry> ParseRuleLine(std::string_view line) {
  if (line.size() < kSumSize) {
    return std::nullopt;
  }
  std::string_view rest = line.substr(0, line.size() - kSumSize);
  if (!rest.starts_with(kRule) || line.substr(rest.size()) != SumOf(rest)) {
    return std::nullopt;
  }
  rest.remove_prefix(kRule.size());
  RuleEntry entry;
  if (!TakeNumbers(rest, &entry) || !TakeTexts(rest, &entry) || !rest.empty()) {
    return std::nullopt;
  }
  return entry;
}

}  // namespace packetdb::host
