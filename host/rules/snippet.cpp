#include "host/rules/snippet.h"

#include <array>
#include <stdexcept>

#include "host/rules/snippet_texts.h"

namespace packetdb::host {
namespace {

struct FilterText {
  std::string_view filter;
  std::string_view text;
};
constexpr std::array kTexts = {
    FilterText{"nftables", kNftablesText},
    FilterText{"iptables", kIptablesText},
    FilterText{"firewalld", kFirewalldText},
    FilterText{"ufw", kUfwText},
};

struct Replacement {
  std::string_view name;
  std::string text;
};

std::vector<Replacement> Replacements(const SnippetSettings& settings) {
  const std::string group = std::to_string(settings.group);
  const std::string length = std::to_string(settings.snap_length);
  return {{"%GROUP%", group},
          {"%TO%", "group " + group + " snaplen " + length},
          {"%TO-NFLOG%", "--nflog-group " + group + " --nflog-size " + length +
                             " --nflog-threshold " + std::to_string(settings.queue_threshold)},
          {"%NEW%", "-m conntrack --ctstate NEW"}};
}

void Replace(std::string& text, const Replacement& replacement) {
  const std::size_t length = replacement.name.size();
  for (std::size_t at = text.find(replacement.name); at != std::string::npos;
       at = text.find(replacement.name, at + replacement.text.size())) {
    text.replace(at, length, replacement.text);
  }
}

}  // namespace

const std::vector<std::string>& SnippetFilters() {
  static const std::vector<std::string> filters = [] {
    std::vector<std::string> names;
    names.reserve(kTexts.size());
    for (const FilterText& text : kTexts) names.emplace_back(text.filter);
    return names;
  }();
  return filters;
}

std::string Snippet(std::string_view filter, const SnippetSettings& settings) {
  for (const FilterText& known : kTexts) {
    if (known.filter != filter) continue;
    std::string text(known.text);
    for (const Replacement& replacement : Replacements(settings)) Replace(text, replacement);
    return text;
  }
  throw std::invalid_argument("no such packet filter: " + std::string(filter));
}

}  // namespace packetdb::host
