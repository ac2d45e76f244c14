#include "host/daemon/supervisor.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <ctime>
#include <fmt/format.h>
#include <poll.h>
#include <stdexcept>
#include <system_error>
#include <unistd.h>
#include <utility>
#include <vector>

#include "host/daemon/exit_code.h"
#include "host/daemon/hardening.h"
#include "host/daemon/intake_process.h"
#include "host/daemon/log_startup.h"
#include "host/daemon/query_process.h"
#include "host/log/log.h"

namespace packetdb::host {

namespace {

// Closing journals flushes them, which a slow disk may take its time for.
constexpr std::chrono::seconds kIntakePatience(60);
constexpr std::chrono::seconds kQueryPatience(10);

constexpr std::chrono::milliseconds kBeat(1000);

std::uint64_t SecondsOf(clockid_t clock) {
  timespec now{};
  clock_gettime(clock, &now);
  return static_cast<std::uint64_t>(now.tv_sec);
}

// Looked at without taking it: whoever waits meanwhile leaves signals to the loop.
bool StopIsAsked() {
  sigset_t pending;
  sigemptyset(&pending);
  sigpending(&pending);
  return sigismember(&pending, SIGTERM) == 1 || sigismember(&pending, SIGINT) == 1;
}

void Abandon(const ServerSockets& sockets) {
  sockets.query->Abandon();
  for (Listener* listener : sockets.all_metrics()) {
    listener->Abandon();
  }
}

}  // namespace

const Supervisor::Name Supervisor::kIntake{"the intake process", "packetdb-intake"};
const Supervisor::Name Supervisor::kQueries{"the query process", "packetdb-query"};

Supervisor::Supervisor(Configuration configuration, Load load, Keep keep, ServiceManager& manager,
                       Signals& signals)
    : configuration_(std::move(configuration)),
      load_(std::move(load)),
      keep_(keep),
      manager_(manager),
      signals_(signals),
      page_(MakeStatusPage()) {
  if (manager.watchdog()) {
    watchdog_.emplace(*manager.watchdog(), Clock::now());
  }
  page_->daemon.started_unix.Set(SecondsOf(CLOCK_REALTIME));
  page_->daemon.started_boottime.Set(SecondsOf(CLOCK_BOOTTIME));
}

void Supervisor::Start() {
  // 1. The log follows us into all processes.
  SetUpLog(configuration_.log);
  // 2. Everything that needs rights, then the rights go.
  OpenEverything();
  GiveUpRights();
  // 3. The processes. Intake is first: what a query could be answered with may not be there before.
  intake_ = StartIntake(configuration_, opened_, std::nullopt);
  queries_ = StartQueries(configuration_, opened_);
  queries_started_ = Clock::now();
  // 4. From here on the sockets of log groups outlive us.
  opened_.sources.Store(manager_, nullptr);
  WriteLog(kNoticeLevel, fmt::format("listening at {}", opened_.sockets.query->path()));
  manager_.Ready(StatusText());
}

void Supervisor::SetUpLog(const LogOptions& options) const {
  ConfigureLog(options);
  OpenLogForChildren();
  page_->daemon.log_level.Set(static_cast<std::uint64_t>(LogLevel()));
}

void Supervisor::OpenEverything() {
  opened_.sources = LiveSources::Open(configuration_, manager_);
  opened_.sockets = OpenServerSockets(configuration_, manager_);
  manager_.DropTheRest();
}

void Supervisor::GiveUpRights() const {
  if (!configuration_.user.empty()) {
    const Identity identity = FindUser(configuration_.user);
    if (identity.uid != geteuid()) {
      BecomeUser(identity);
    }
  }
  LimitCapabilities(keep_);
  ForbidInspection();
}

Supervisor::Child Supervisor::StartIntake(const Configuration& configuration, Opened& opened,
                                          std::optional<Moment> since) {
  if (opened.sources.empty()) {
    return nullptr;
  }
  opened.sources.ContinueFrom(*page_);
  const IntakeLoopOptions options{Beat(), since};
  return StartChild(kIntake, [&](StartReport& report) {
    Abandon(opened_.sockets);
    Abandon(opened.sockets);
    // What it does not read it must not keep open: a log group has its holder for as long.
    if (&opened != &opened_) {
      opened_.sources = {};
    }
    return RunIntake(configuration, opened.sources, signals_, *page_, options, report);
  });
}

Supervisor::Child Supervisor::StartQueries(const Configuration& configuration, Opened& opened) {
  return StartChild(kQueries, [&](StartReport& report) {
    opened_.sources = {};
    opened.sources = {};
    return RunQueries(configuration, opened.sockets, signals_, *page_, Beat(), report);
  });
}

Supervisor::Child Supervisor::StartChild(const Name& name, const ChildProcess::Work& work) {
  auto child = std::make_unique<ChildProcess>(name.text, name.shown, work);
  const auto begin = Clock::now();
  const auto reason = child->AwaitReady([&] {
    ExcuseWatchdog(begin);
    return StopIsAsked();
  });
  if (reason) {
    throw std::runtime_error(*reason);
  }
  return child;
}

std::chrono::milliseconds Supervisor::Beat() const { return watchdog_ ? watchdog_->beat() : kBeat; }

int Supervisor::Run() {
  while (!ending_) {
    Turn();
  }
  Stop();
  return *ending_;
}

void Supervisor::Turn() {
  std::vector<pollfd> waited = {{signals_.fd(), POLLIN, 0},
                                {intake_ ? intake_->end_fd() : -1, POLLIN, 0},
                                {queries_ ? queries_->end_fd() : -1, POLLIN, 0}};
  for (const Child& child : retired_) {
    waited.push_back({child->end_fd(), POLLIN, 0});
  }
  if (poll(waited.data(), waited.size(), TimeToWait()) < 0 && errno != EINTR) {
    throw std::system_error(errno, std::generic_category(), "cannot wait for processes");
  }
  HandleSignals();
  if (!ending_) {
    LookAtChildren();
    RestartQueries();
    FeedWatchdog();
  }
}

// Until something is due; for ever when nothing is.
int Supervisor::TimeToWait() const {
  std::optional<Clock::time_point> due;
  if (watchdog_) {
    due = watchdog_->due();
  }
  if (!queries_) {
    due = std::min(due.value_or(queries_due_), queries_due_);
  }
  if (!due) {
    return -1;
  }
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(*due - Clock::now());
  return static_cast<int>(std::max<long long>(0, left.count()));
}

void Supervisor::HandleSignals() {
  while (const auto signal = signals_.Next()) {
    switch (*signal) {
      case SIGHUP:
        Reload();
        break;
      case SIGUSR1:
        ChangeLogLevel(1);
        break;
      case SIGUSR2:
        ChangeLogLevel(-1);
        break;
      default:
        WriteLog(kNoticeLevel, fmt::format("stopping on {}", strsignal(*signal)));
        ending_ = kExitOk;
    }
  }
}

// The other processes follow the page.
void Supervisor::ChangeLogLevel(int by) {
  SetLogLevel(LogLevel() + by);
  page_->daemon.log_level.Set(static_cast<std::uint64_t>(LogLevel()));
  WriteLog(kFailureLevel, fmt::format("log level {}", LogLevel()));
}

void Supervisor::LookAtChildren() {
  if (intake_ && intake_->HasEnded()) {
    WriteLog(kFailureLevel, fmt::format("{} {}: events are journaled no longer, stopping",
                                        kIntake.text, intake_->EndText()));
    intake_.reset();
    ending_ = kExitIntakeDied;
  }
  if (queries_ && queries_->HasEnded()) {
    QueriesEnded();
  }
  retired_.remove_if([](const Child& child) { return child->HasEnded(); });
}

void Supervisor::QueriesEnded() {
  const auto now = Clock::now();
  queries_due_ = backoff_.NextStart(queries_started_, now);
  const auto wait = std::chrono::duration_cast<std::chrono::seconds>(queries_due_ - now);
  WriteLog(kFailureLevel, fmt::format("{} {} and is started again in {} s", kQueries.text,
                                      queries_->EndText(), wait.count()));
  queries_.reset();
}

void Supervisor::RestartQueries() {
  if (queries_ || Clock::now() < queries_due_) {
    return;
  }
  queries_started_ = Clock::now();
  try {
    queries_ = StartQueries(configuration_, opened_);
    page_->daemon.query_restarts.Add(1);
    WriteLog(kNoticeLevel, fmt::format("{} was started again", kQueries.text));
  } catch (const std::exception& error) {
    queries_due_ = backoff_.NextStart(queries_started_, Clock::now());
    WriteLog(kFailureLevel, fmt::format("{} cannot be started: {}", kQueries.text, error.what()));
  }
}

void Supervisor::FeedWatchdog() {
  const auto now = Clock::now();
  if (!watchdog_ || now < watchdog_->due()) {
    return;
  }
  const auto& beats = intake_ ? page_->daemon.intake_beats : page_->daemon.query_beats;
  if (watchdog_->Look(now, beats.Get())) {
    manager_.FeedWatchdog();
  }
}

void Supervisor::ExcuseWatchdog(Clock::time_point begin) {
  constexpr std::chrono::seconds kLongest(120);  // a full journal on a slow disk is copied in that
  const auto now = Clock::now();
  if (watchdog_ && now >= watchdog_->due() && now - begin < kLongest) {
    watchdog_->Excuse(now);
    manager_.FeedWatchdog();
  }
}

void Supervisor::Stop() {
  manager_.Stopping();
  if (intake_) {
    StopChild(*intake_, kIntakePatience);
    ending_ = *ending_ == kExitOk && !intake_->ended_well() ? kExitIntakeDied : *ending_;
  }
  if (queries_) {
    StopChild(*queries_, kQueryPatience);
  }
  for (const Child& child : retired_) {
    StopChild(*child, kQueryPatience);
  }
}

void Supervisor::StopChild(ChildProcess& child, std::chrono::seconds patience) {
  child.Signal(SIGTERM);
  if (!child.AwaitEnd(patience)) {
    WriteLog(kFailureLevel,
             fmt::format("{} did not end when it was told to and was killed", child.name()));
  } else if (!child.ended_well()) {
    WriteLog(kFailureLevel, fmt::format("{} {}", child.name(), child.EndText()));
  }
}

std::string Supervisor::StatusText() const {
  return intake_ ? fmt::format("Reading {} sources, answering queries at {}",
                               opened_.sources.all().size(), opened_.sockets.query->path())
                 : fmt::format("Answering queries at {}", opened_.sockets.query->path());
}

}  // namespace packetdb::host
