#include "bench/intake/traffic.h"

#include <ctime>
#include <fmt/format.h>

#include "packetdb/storage.h"

namespace packetdb::bench {

namespace {

constexpr int kRules = 40;
constexpr int kInterfaces = 4;
constexpr std::uint32_t kNetworks = 100'000;

host::RuleSettings RuleFor(std::string prefix, std::uint32_t code) {
  host::RuleSettings rule;
  rule.prefix = std::move(prefix);
  rule.code = code;
  return rule;
}

host::ExclusionSettings Excluding(std::string name, std::uint16_t port) {
  host::ExclusionSettings exclusion;
  exclusion.name = std::move(name);
  exclusion.ports = {{port, port}};
  return exclusion;
}

std::vector<host::NodeSettings> Nodes() {
  std::vector<host::NodeSettings> nodes;
  for (std::uint32_t i = 0; i < kNetworks; ++i) {
    host::NodeSettings& node = nodes.emplace_back();
    node.network = (0x0A0000U + i) << 8U;
    node.prefix_length = 24;
    node.id = i + 1;
  }
  return nodes;
}

}  // namespace

Traffic::Traffic(int identities) {
  for (int i = 0; i < kRules; ++i) {
    prefixes.push_back(i % 2 == 0 ? fmt::format("pdb:input:{}:drop", i)
                                  : fmt::format("fw-{}: ", i));
  }
  const std::int64_t now = std::time(nullptr);
  for (int i = 0; i < identities; ++i) {
    host::LiveEvent& event = events.emplace_back();
    event.prefix = prefixes[static_cast<std::size_t>(i % kRules)];
    event.log_group = 5;
    event.event.interface = fmt::format("eth{}", i % kInterfaces);
    event.event.time = now;
    CDrvErrorItemV4& item = event.event.item;
    item.m_SrcIp = 0x0A000000U + static_cast<std::uint32_t>(i) * 2654435761U % (kNetworks << 8U);
    item.m_DstIp = 0x0A000001;
    item.m_SrcPort = static_cast<std::uint16_t>(10'000 + i);
    item.m_DstPort = 443;
    item.m_Protocol = 6;
    item.m_Count = 1;
    item.m_PacketSize = 60;
    item.m_FirstTime = item.m_LastTime = static_cast<std::uint32_t>(now - TIME_1980_OFFSET);
  }
}

host::Configuration ConfigurationOf(const std::string& directory) {
  host::Configuration configuration;
  configuration.directory = directory;
  configuration.journals[0].window_seconds = 86400;
  configuration.rules = {RuleFor("other", 3), RuleFor("fw-1?: *", 44), RuleFor("fw-*", 45)};
  configuration.exclusions = {Excluding("dns", 53), Excluding("ntp", 123)};
  configuration.nodes = Nodes();
  return configuration;
}

}  // namespace packetdb::bench
