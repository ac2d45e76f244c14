// The commands of the bus that tell how the daemon is doing and what it serves.
#pragma once

#include <string>

#include "host/status/status_page.h"
#include "platform/bus.h"

namespace packetdb::host {

// Answers kCommandStatus.
class StatusCommand : public UdbDispatcher::IUdbCallback {
 public:
  // `page` may be null: then the journals of `directory` are all that is told of. It outlives the
  // command and its clones.
  StatusCommand(const StatusPage* page, std::string directory);

  int call(CAbstractPacketOptions* message) override;
  const char* desc() const override;
  UdbDispatcher::IUdbCallback* Clone() const override;

 private:
  const StatusPage* page_;
  std::string directory_;
};

// Answers kCommandJournals.
class JournalsCommand : public UdbDispatcher::IUdbCallback {
 public:
  explicit JournalsCommand(std::string directory);

  int call(CAbstractPacketOptions* message) override;
  const char* desc() const override;
  UdbDispatcher::IUdbCallback* Clone() const override;

 private:
  std::string directory_;
};

}  // namespace packetdb::host
