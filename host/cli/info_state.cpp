#include "host/cli/info_state.h"

#include <fmt/format.h>

#include "host/cli/counted.h"

namespace packetdb::host {

std::string FlushedText(const StatePage& state, std::uint64_t end) {
  return state.synced >= end ? "all records"
                             : fmt::format("those before number {}, not {} newer", state.synced,
                                           end - state.synced);
}

std::string LossesText(const StatePage& state) {
  if (state.damaged + state.lost_unsynced + state.generation == 0) {
    return {};
  }
  const std::string searches =
      state.generation == 1 ? "once" : fmt::format("{} times", state.generation);
  return fmt::format("{} damaged, {} lost in power cuts, ever; searched {}",
                     Counted(state.damaged, "record"), state.lost_unsynced, searches);
}

}  // namespace packetdb::host
