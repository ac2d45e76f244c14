// What a change of a key needs before it holds.
#pragma once

#include <string_view>

namespace packetdb::host {

enum class Effect {
  kLog,      // nothing but to set it
  kQuery,    // another query process
  kIntake,   // another intake process
  kSources,  // sources opened or closed, and another intake process
  kRestart,  // another daemon: it cannot change while this one runs
};

// "reload" or "restart": what the administrator has to do.
std::string_view WordFor(Effect effect);

}  // namespace packetdb::host
