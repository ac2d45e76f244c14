#include "host/cli/row_reading.h"

#include <csignal>
#include <fmt/format.h>

#include "host/cli/report.h"

namespace packetdb::host {

namespace {

// Set by Ctrl-C while rows are followed: what was seen by then is printed to its end.
std::atomic<bool> interrupted{false};
static_assert(std::atomic<bool>::is_always_lock_free);

// Rows tell their interface only where that is wanted, since the daemon has to be asked for each.
InterfaceChoice ChoiceOf(const Plan& plan, bool tells_interface) {
  InterfaceChoice choice;
  choice.patterns = plan.division.interface_patterns;
  const bool is_tested =
      choice.patterns.empty() && !expression::IsEverything(plan.division.interfaces);
  choice.must_tell = plan.division.rest_needs_interface || is_tested || tells_interface;
  return choice;
}

}  // namespace

RowReading::RowReading(const Origin& origin, const Plan& plan, bool tells_interface)
    : plan_(plan),
      rest_(plan.division.rest),
      source_(origin.open(plan.query.m_Interface, ChoiceOf(plan, tells_interface))) {
  if (!plan.NeedsNoTest()) {
    wanted_ = [this](const Row& row) { return plan_.Takes(row) && rest_.Matches(row); };
  }
}

RowSink RowReading::Counting(const RowSink& sink) {
  return [this, &sink](const Row& row) {
    ++given_;
    return sink(row);
  };
}

ReadResult RowReading::ReadAll(ReadOrder order, const RowSink& sink) {
  return WindowReader(*source_, interrupted).ReadAll(order, plan_.query, wanted_, Counting(sink));
}

ReadResult RowReading::ReadNewest(std::size_t most, const RowSink& sink) {
  return WindowReader(*source_, interrupted).ReadNewest(most, plan_.query, wanted_, Counting(sink));
}

ReadResult RowReading::Follow(std::size_t newest, const FollowSink& sink) {
  std::signal(SIGINT, [](int) { interrupted = true; });
  std::signal(SIGTERM, [](int) { interrupted = true; });
  Follower follower(*source_, plan_.query, wanted_, interrupted);
  return follower.Run(newest, Follower::kInterval, [&](const Row& row, bool is_update) {
    ++given_;
    return sink(row, is_update);
  });
}

ExitCode RowReading::Verdict(const ReadResult& result, bool exit_status) const {
  if (!result.ok() && result.outcome != ReadOutcome::kStopped) {
    return Failed(result);
  }
  if (const std::uint64_t damaged = DamagedIn(*source_); damaged > 0) {
    Complain(fmt::format("{} damaged records are left out; packetdb check tells which", damaged));
    return kExitDamaged;
  }
  const bool is_stopped = result.outcome == ReadOutcome::kStopped;
  return given_ > 0 || is_stopped ? kExitOk : NothingGiven(exit_status);
}

ExitCode RowReading::Failed(const ReadResult& result) const {
  const char* const what = given_ > 0 ? "the answer is incomplete" : "the query failed";
  Complain(fmt::format("{}: {}", what, result.reason));
  if (result.outcome == ReadOutcome::kUnreachable) {
    return kExitUnreachable;
  }
  return given_ > 0 ? kExitIncomplete : kExitFailed;
}

ExitCode RowReading::NothingGiven(bool exit_status) const {
  const std::string name = plan_.query.m_Interface;
  Complain(fmt::format("nothing matched in '{}'", name));
  return exit_status ? kExitNoMatch : kExitOk;
}

}  // namespace packetdb::host
