// The part of the supervisor that puts one configuration into the place of another: wholly, or not
// at all.
#include <fmt/format.h>
#include <stdexcept>
#include <utility>

#include "host/config/changes.h"
#include "host/config/load.h"
#include "host/daemon/exit_code.h"
#include "host/daemon/supervisor.h"
#include "host/log/log.h"

namespace packetdb::host {

namespace {

constexpr std::chrono::seconds kHandOverPatience(60);

// Longer than intake takes to notice a signal.
constexpr std::chrono::milliseconds kCutNotice(200);

void Report(const std::vector<ConfigurationChange>& changes) {
  WriteLog(kNoticeLevel, fmt::format("configuration read again: {} change{}", changes.size(),
                                     changes.size() == 1 ? "" : "s"));
  for (const ConfigurationChange& change : changes) {
    if (change.effect == Effect::kRestart) {
      WriteLog(kFailureLevel, fmt::format("needs a restart: {}", change.text));
    } else {
      WriteLog(kNoticeLevel, change.text);
    }
  }
}

}  // namespace

void Supervisor::Reload() {
  manager_.Reloading();
  try {
    const Configuration loaded = load_();
    const auto changes = Changes(configuration_, loaded);
    Replace(WithoutRestart(configuration_, loaded));
    page_->daemon.reloads.Add(1);
    Report(changes);
  } catch (const ConfigurationError& error) {
    for (const std::string& problem : error.problems()) {
      WriteLog(kFailureLevel, problem);
    }
    ReloadFailed("the configuration is not right");
  } catch (const std::exception& error) {
    ReloadFailed(error.what());
  }
  manager_.Ready(StatusText());
}

void Supervisor::ReloadFailed(const char* why) const {
  page_->daemon.failed_reloads.Add(1);
  WriteLog(kFailureLevel, fmt::format("reload failed, everything stays as it was: {}", why));
}

void Supervisor::Replace(const Configuration& next) {
  Opened opened = Prepare(next);
  // Nobody is kept from anything by a second query process, so it comes first: when it cannot
  // start, intake has not even noticed.
  Child queries;
  try {
    queries = StartQueries(next, opened);
    SwapIntake(next, opened);
  } catch (...) {
    const RaisedCapabilities raised;
    opened_.sources.Restore(configuration_);
    throw;
  }
  opened.sources.Store(manager_, &opened_.sources);
  opened_ = std::move(opened);
  configuration_ = next;
  SetUpLog(next.log);
  RetireQueries(std::move(queries));
}

// Captures of the two configurations run side by side for a moment.
Supervisor::Opened Supervisor::Prepare(const Configuration& next) {
  const RaisedCapabilities raised;
  Opened opened;
  opened.sockets = opened_.sockets;  // only a restart changes them
  opened.sources = opened_.sources.Reopen(configuration_, next);
  return opened;
}

void Supervisor::SwapIntake(const Configuration& next, Opened& opened) {
  // Not yet come: intake must not have journaled what is its successor's.
  const Moment cut = Now() + kCutNotice;
  HandIntakeOver(cut);
  try {
    intake_ = StartIntake(next, opened, cut);
    page_->daemon.intake_restarts.Add(1);
  } catch (const std::exception&) {
    opened.sources = {};  // not for the one before to inherit
    RecoverIntake();
    throw;
  }
}

void Supervisor::HandIntakeOver(Moment cut) {
  if (!intake_) {
    return;
  }
  page_->daemon.handover_seconds.Set(static_cast<std::uint64_t>(cut.seconds));
  page_->daemon.handover_nanoseconds.Set(cut.nanoseconds);
  intake_->Signal(HandOverSignal());
  const auto begin = Clock::now();
  const auto meanwhile = [&] { ExcuseWatchdog(begin); };
  if (!intake_->AwaitEnd(kHandOverPatience, meanwhile) || !intake_->ended_well()) {
    WriteLog(kFailureLevel,
             fmt::format("{}, when it was to hand over, {}", intake_->name(), intake_->EndText()));
  }
  intake_.reset();
}

// The one before again. Without an intake process there is no daemon.
void Supervisor::RecoverIntake() {
  try {
    {
      const RaisedCapabilities raised;
      opened_.sources.Restore(configuration_);
      opened_.sources.ReopenCaptures(configuration_);
    }
    intake_ = StartIntake(configuration_, opened_, std::nullopt);
  } catch (const std::exception& error) {
    WriteLog(kFailureLevel,
             fmt::format("events are journaled no longer, stopping: {}", error.what()));
    ending_ = kExitIntakeDied;
  }
}

// What it answers it answers to the end; whoever connects from now on comes to its successor.
void Supervisor::RetireQueries(Child successor) {
  if (queries_) {
    queries_->Signal(HandOverSignal());
    retired_.push_back(std::move(queries_));
  }
  queries_ = std::move(successor);
  queries_started_ = Clock::now();
}

}  // namespace packetdb::host
