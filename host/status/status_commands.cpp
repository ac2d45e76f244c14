#include "host/status/status_commands.h"

#include <utility>

#include "host/status/report.h"
#include "host/status/status_json.h"
#include "host/status/text_rows.h"

namespace packetdb::host {

StatusCommand::StatusCommand(const StatusPage* page, std::string directory)
    : page_(page), directory_(std::move(directory)) {}

int StatusCommand::call(CAbstractPacketOptions* message) {
  return SendTextRows(*message, StatusRows(MakeReport(page_, directory_, ReportMoment::Now())));
}

const char* StatusCommand::desc() const { return "telling how the daemon is doing"; }

UdbDispatcher::IUdbCallback* StatusCommand::Clone() const {
  return new StatusCommand(page_, directory_);
}

JournalsCommand::JournalsCommand(std::string directory) : directory_(std::move(directory)) {}

int JournalsCommand::call(CAbstractPacketOptions* message) {
  return SendTextRows(*message, JournalRows(MakeReport(nullptr, directory_, ReportMoment::Now())));
}

const char* JournalsCommand::desc() const { return "listing the journals and their interfaces"; }

UdbDispatcher::IUdbCallback* JournalsCommand::Clone() const {
  return new JournalsCommand(directory_);
}

}  // namespace packetdb::host
