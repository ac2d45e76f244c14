// The command of the bus that tells what the numbers in records are called.
#pragma once

#include "host/config/configuration.h"
#include "platform/bus.h"

namespace packetdb::host {

// Answers kCommandNames: by the configuration, and by the rule dictionary of its directory as it is
// when the question comes.
class NamesCommand : public UdbDispatcher::IUdbCallback {
 public:
  // `configuration` outlives the command and its clones.
  explicit NamesCommand(const Configuration& configuration) : configuration_(configuration) {}

  int call(CAbstractPacketOptions* message) override;
  const char* desc() const override;
  UdbDispatcher::IUdbCallback* Clone() const override;

 private:
  const Configuration& configuration_;
};

}  // namespace packetdb::host
