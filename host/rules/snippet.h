// Ready lines for packet filters, which make them log what packetdb journals.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "host/config/configuration.h"

namespace packetdb::host {

struct SnippetSettings {
  std::uint16_t group = kDefaultLogGroup;
  std::uint32_t snap_length = LogGroupSettings().copy_range;           // bytes of each packet
  std::uint32_t queue_threshold = LogGroupSettings().queue_threshold;  // packets
};

// The packet filters that there are snippets for: "nftables" first.
const std::vector<std::string>& SnippetFilters();

// The snippet for one of them, in its own syntax: it can be loaded as it is, says in comments how,
// and lets nothing through and holds nothing up that it would not without it. Throws
// std::invalid_argument for any other filter.
std::string Snippet(std::string_view filter, const SnippetSettings& settings);

}  // namespace packetdb::host
