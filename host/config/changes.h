// What a reload changes.
#pragma once

#include <string>
#include <vector>

#include "host/config/configuration.h"
#include "host/config/effect.h"

namespace packetdb::host {

struct ConfigurationChange {
  std::string text;  // "[limits] rows: 1000000, now 5000": one line without a full stop
  Effect effect = Effect::kRestart;
};

// How two configurations differ, in the order of the configuration's tables; empty when they do
// not. What only a restart can change (Effect::kRestart) is among it.
std::vector<ConfigurationChange> Changes(const Configuration& before, const Configuration& after);

// Whether one of the changes has this effect.
bool HasEffect(const std::vector<ConfigurationChange>& changes, Effect effect);

// `after`, but with what only a restart can change as `before` has it: what a reload makes hold.
Configuration WithoutRestart(const Configuration& before, const Configuration& after);

}  // namespace packetdb::host
