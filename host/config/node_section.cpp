// Networks and their nodes: [[node]], in a file of their own.
#include <limits>
#include <variant>

#include "host/config/key_kinds.h"
#include "host/config/list_section.h"
#include "host/config/networks.h"
#include "host/config/sections.h"
#include "host/config/text_rules.h"

namespace packetdb::host {
namespace {

using NodeKey = Key<NodeSettings>;

constexpr std::size_t kLongestNodeName = 63;

std::optional<Refusal> ReadNetwork(const Node& node, const Reading&, NodeSettings& settings) {
  const auto* const text = std::get_if<std::string>(&node.value);
  if (text == nullptr) return Refuse(node);
  NetworkOrWhy read = ParseNetwork(*text);
  if (!read.network) return Refuse(node, std::move(read.why));
  settings.network = *read.network;
  settings.prefix_length = read.prefix_length;
  return std::nullopt;
}

NodeKey NetworkKey() {
  return {"network",
          "an IPv4 network",
          "\"10.0.0.0/8\"",
          "The network. An address belongs to the smallest network that it is in.",
          Effect::kIntake,
          "",
          true,
          ReadNetwork,
          [](const NodeSettings& settings, const Configuration&) {
            return Quoted(ShowNetwork(settings.network, settings.prefix_length));
          }};
}

}  // namespace

std::unique_ptr<Section> MakeNodeSection() {
  std::vector<NodeKey> keys;
  keys.push_back(NetworkKey());
  keys.push_back(NumberKey("id", &NodeSettings::id, {1, std::numeric_limits<std::uint32_t>::max()},
                           "7", "The node, as events have it. Several networks may belong to one.",
                           Effect::kIntake));
  keys.back().required = true;
  keys.push_back(TextKey("name", &NodeSettings::name, PlainText(1, kLongestNodeName, "office"),
                         "The node, as people call it. A node has one name, a name one node.",
                         Effect::kIntake));
  keys.back().required = true;
  return std::make_unique<ListSection<NodeSettings>>(
      "node", "A network whose addresses belong to a node.",
      ListTraits<NodeSettings>{&Configuration::nodes, kMostNodes, "network", Effect::kIntake},
      std::move(keys));
}

}  // namespace packetdb::host
