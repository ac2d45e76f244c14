#include "host/daemon/intake_process.h"

#include <csignal>

#include "host/daemon/exit_code.h"
#include "host/daemon/hardening.h"
#include "host/daemon/privileges.h"
#include "host/daemon/sandbox.h"
#include "host/intake/intake.h"
#include "host/log/log.h"
#include "host/record_file/settings.h"

namespace packetdb::host {

namespace {

void SetSync(const SyncSettings& sync) {
  RecordFileSettings settings = GetRecordFileSettings();
  settings.sync.interval = sync.interval;
  settings.sync.bytes = sync.bytes;
  SetRecordFileSettings(settings);
}

}  // namespace

int RunIntake(const Configuration& configuration, const LiveSources& sources, Signals& signals,
              StatusPage& page, const IntakeLoopOptions& options, StartReport& report) {
  // 1. The end can be asked for from here on.
  signals.BeChild({SIGTERM, HandOverSignal()});
  // 2. Rights, before anything is opened: threads that opening starts have no more of them.
  LimitCapabilities(Keep::kNothing);
  ForbidInspection();
  // 3. The journals.
  SetSync(configuration.sync);
  Intake intake(configuration, page);
  // 4. What the loop waits for, and nothing is opened after it.
  IntakeLoop loop(sources.all(), intake, signals, page, options);
  SandboxFilter(Sandbox::kIntake).Enter();
  // 5. The first packet is read when nothing else can go wrong.
  report.Ready();
  loop.Run();
  WriteLog(3, "intake: done");
  return kExitOk;
}

}  // namespace packetdb::host
