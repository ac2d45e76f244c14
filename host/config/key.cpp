#include "host/config/key.h"

#include <fmt/format.h>
#include <utility>

#include "host/config/written.h"

namespace packetdb::host {

std::string_view WordFor(Effect effect) {
  return effect == Effect::kRestart ? "restart" : "reload";
}

Refusal Refuse(const Node& node, std::string why) {
  return {node.place, Written(node), std::move(why)};
}

std::string RefusalText(const std::string& key, const Refusal& refusal, const std::string& takes,
                        const std::string& example) {
  return fmt::format("{} = {}: {}{}give {}, such as {}", key, refusal.written, refusal.why,
                     refusal.why.empty() ? "" : "; ", takes, example);
}

}  // namespace packetdb::host
