#include "host/printing/options.h"

#include <fmt/format.h>
#include <iterator>

#include "host/config/spelling.h"

namespace packetdb::host {
namespace {

struct FormatWord {
  std::string_view word;
  PrintFormat format;
};

constexpr FormatWord kFormats[] = {
    {"table", PrintFormat::kTable}, {"wide", PrintFormat::kWide}, {"csv", PrintFormat::kCsv},
    {"tsv", PrintFormat::kTsv},     {"json", PrintFormat::kJson}, {"ndjson", PrintFormat::kNdjson},
    {"raw", PrintFormat::kRaw},
};
constexpr std::string_view kTemplatePrefix = "template=";

std::string MeantInstead(std::string_view text) {
  std::vector<std::string> words{"template"};
  for (const FormatWord& row : kFormats) words.emplace_back(row.word);
  const auto nearest = NearestWord(text, words);
  return nearest ? fmt::format("; did you mean {}?", *nearest) : "";
}

}  // namespace

void SetFormat(std::string_view text, PrintOptions* options) {
  if (text.starts_with(kTemplatePrefix)) {
    options->format = PrintFormat::kTemplate;
    options->template_text = text.substr(kTemplatePrefix.size());
    return;
  }
  for (const FormatWord& row : kFormats) {
    if (row.word != text) continue;
    options->format = row.format;
    return;
  }
  throw PrintError(fmt::format("'{}' is not an output format: give {}{}", text, FormatWords(),
                               MeantInstead(text)));
}

std::string FormatWords() {
  std::string words;
  for (const FormatWord& row : kFormats) {
    fmt::format_to(std::back_inserter(words), "{}, ", row.word);
  }
  return words + "or template=...";
}

}  // namespace packetdb::host
