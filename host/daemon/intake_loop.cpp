#include "host/daemon/intake_loop.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <fmt/format.h>
#include <stdexcept>
#include <sys/epoll.h>
#include <system_error>

#include "host/log/log.h"

namespace packetdb::host {

namespace {

constexpr std::size_t kSignals = kMostSources;  // the index of the signals among what is waited for

// Longer than the kernel and the capture library keep packets back before they pass them on.
constexpr std::chrono::milliseconds kQuiet(50);
// A busy packet filter logs for ever.
constexpr std::chrono::seconds kLongestDrain(5);

[[noreturn]] void Fail(const char* what) {
  throw std::system_error(errno, std::generic_category(), what);
}

bool IsCapture(const LiveSource& source) { return source.name().starts_with("capture:"); }

}  // namespace

IntakeLoop::IntakeLoop(const std::vector<LiveSource*>& sources, Intake& intake, Signals& signals,
                       StatusPage& page, const IntakeLoopOptions& options)
    : intake_(intake),
      signals_(signals),
      page_(page),
      beat_(options.beat),
      epoll_(epoll_create1(EPOLL_CLOEXEC)) {
  if (!epoll_.valid()) {
    Fail("cannot wait for events");
  }
  for (LiveSource* source : sources) {
    Source& added = sources_.emplace_back();
    added.source = source;
    added.is_capture = IsCapture(*source);
    if (added.is_capture && options.since) {
      added.since.emplace(intake_, *options.since);
    }
    Watch(source->fd(), sources_.size() - 1);
    intake_.End(*source);  // whoever asks how it is doing sees it before its first packet
  }
  Watch(signals_.fd(), kSignals);
}

void IntakeLoop::Watch(int fd, std::size_t index) {
  epoll_event event{};
  event.events = EPOLLIN;
  event.data.u64 = index;
  if (epoll_ctl(epoll_.get(), EPOLL_CTL_ADD, fd, &event) != 0) {
    Fail("cannot wait for a source");
  }
}

void IntakeLoop::Unwatch(int fd) { epoll_ctl(epoll_.get(), EPOLL_CTL_DEL, fd, nullptr); }

void IntakeLoop::Run() {
  while (!asked_) {
    Turn(beat_);
    FollowLogLevel();
  }
  if (*asked_ == SIGTERM) {
    Drain();
  } else {
    HandOver();
  }
}

bool IntakeLoop::Turn(std::chrono::milliseconds longest) {
  std::array<epoll_event, kMostSources + 1> ready{};
  const int count = epoll_wait(epoll_.get(), ready.data(), static_cast<int>(ready.size()),
                               static_cast<int>(longest.count()));
  page_.daemon.intake_beats.Add(1);
  if (count < 0 && errno != EINTR) {
    Fail("cannot wait for events");
  }
  bool received = false;
  for (int i = 0; i < count; ++i) {
    const auto index = static_cast<std::size_t>(ready[static_cast<std::size_t>(i)].data.u64);
    if (index == kSignals) {
      HandleSignals();
      continue;
    }
    received = Receive(sources_[index]) || received;
  }
  return received;
}

bool IntakeLoop::Receive(Source& source) {
  if (!source.usable) {
    return false;
  }
  bool received = false;
  intake_.Begin(*source.source);
  try {
    received = source.source->Receive(SinkOf(source));
  } catch (const std::system_error& error) {
    Lose(source, error.what());
  }
  intake_.End(*source.source);
  return received;
}

EventSink& IntakeLoop::SinkOf(Source& source) {
  if (source.until) {
    return *source.until;
  }
  return source.since ? static_cast<EventSink&>(*source.since) : intake_;
}

// An interface that goes away must not end the log of the others.
void IntakeLoop::Lose(Source& source, const std::string& why) {
  Unwatch(source.source->fd());
  source.usable = false;
  WriteLog(kFailureLevel, fmt::format("{} is read no longer: {}; a reload opens it again",
                                      source.source->name(), why));
  if (std::none_of(sources_.begin(), sources_.end(),
                   [](const Source& each) { return each.usable; })) {
    throw std::runtime_error("no source of events is left");
  }
}

void IntakeLoop::HandleSignals() {
  while (const auto signal = signals_.Next()) {
    asked_ = *signal;
  }
}

void IntakeLoop::FollowLogLevel() const {
  SetLogLevel(static_cast<int>(page_.daemon.log_level.Get()));
}

// What came later than the signal is not waited for: it may come faster than it can be journaled.
void IntakeLoop::Drain() {
  const Moment now = Now();
  for (Source& source : sources_) {
    source.until.emplace(SinkOf(source), now, UntilSink::Later::kPassOn);
  }
  Unwatch(signals_.fd());
  const auto end = std::chrono::steady_clock::now() + kLongestDrain;
  while (std::chrono::steady_clock::now() < end && Turn(kQuiet)) {
    for (const Source& source : sources_) {
      if (source.until->passed()) {
        Unwatch(source.source->fd());
      }
    }
  }
}

// Packets of log groups wait for the next process, which reads the same sockets. A capture's wait
// for nobody but us, up to a moment that is yet to come.
void IntakeLoop::HandOver() {
  const Moment cut{static_cast<std::int64_t>(page_.daemon.handover_seconds.Get()),
                   static_cast<std::uint32_t>(page_.daemon.handover_nanoseconds.Get())};
  for (Source& source : sources_) {
    if (source.is_capture) {
      source.until.emplace(SinkOf(source), cut, UntilSink::Later::kDrop);
    }
  }
  const Moment last = cut + kQuiet;
  while (WaitsForCapture() && Now() < last) {
    Turn(kQuiet);
  }
}

bool IntakeLoop::WaitsForCapture() const {
  return std::any_of(sources_.begin(), sources_.end(), [](const Source& source) {
    return source.usable && source.until && !source.until->passed();
  });
}

}  // namespace packetdb::host
