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

std::string Replaced(std::string text, std::string_view name, std::uint32_t value) {
  const std::string digits = std::to_string(value);
  for (std::size_t at = text.find(name); at != std::string::npos;
       at = text.find(name, at + digits.size())) {
    text.replace(at, name.size(), digits);
  }
  return text;
}

}  // namespace

const std::vector<std::string>& SnippetFilters() {
  static const std::vector<std::string> filters = [] {
    std::vector<std::string> names;
    for (const FilterText& text : kTexts) names.emplace_back(text.filter);
    return names;
  }();
  return filters;
}

std::string Snippet(std::string_view filter, const SnippetSettings& settings) {
  for (const FilterText& known : kTexts) {
    if (known.filter != filter) continue;
    std::string text = Replaced(std::string(known.text), "%GROUP%", settings.group);
    text = Replaced(std::move(text), "%SNAPLEN%", settings.snap_length);
    return Replaced(std::move(text), "%THRESHOLD%", settings.queue_threshold);
  }
  throw std::invalid_argument("no such packet filter: " + std::string(filter));
}

}  // namespace packetdb::host
