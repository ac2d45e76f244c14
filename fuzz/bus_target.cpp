// What a client of the bus sends, as the process that serves it gets it.
#include <algorithm>
#include <sys/socket.h>

#include "fuzz/asked_journal.h"
#include "fuzz/client_bytes.h"
#include "fuzz/expected_answers.h"
#include "fuzz/promise.h"
#include "fuzz/socket_bytes.h"
#include "fuzz/target.h"
#include "host/daemon/query_limits.h"
#include "host/daemon/serve_client.h"
#include "host/log/log.h"

namespace packetdb::fuzz {
namespace {

constexpr std::size_t kMostSent = 64 * 1024;  // a socket takes that at once

const AskedJournal& TheJournal() {
  static const AskedJournal journal;
  return journal;
}

// Limits that inputs reach.
const host::Configuration& TheConfiguration() {
  static const host::Configuration configuration = [] {
    host::Configuration made;
    made.directory = TheJournal().directory();
    made.limits.message_kib = 1;
    made.limits.columns = 40;
    return made;
  }();
  return configuration;
}

// A client that neither breaks the protocol nor takes too long is served until it closes.
void CheckEnd(const host::BusFailure& end, bool stays) {
  Require(!end.text.empty() && end.text.find('\n') == std::string::npos, "the end has a reason");
  const bool is_left =
      end.code == host::BusError::kPeerClosed || end.code == host::BusError::kClosedMidway;
  if (host::IsMalformed(end.code)) return;
  Require(stays ? end.code == host::BusError::kTimedOut : is_left, "an end for its own reason");
}

void CheckReports(const Exchanges& exchanges) {
  for (const host::CommandReport& report : exchanges.reports) {
    Require(report.answer.has_value(), "a request is answered");
  }
}

bool IsCutOff(const host::BusFailure& end) {
  return end.code == host::BusError::kTimedOut && end.text.find("sending") != std::string::npos;
}

}  // namespace

void TryInput(const std::uint8_t* data, std::size_t size) {
  host::SetLogLevel(0);  // it would tell of every input
  if (size == 0) return;
  const std::uint8_t options = data[0];
  static const host::StatusPage page;
  Exchanges exchanges;
  exchanges.sent = {data + 1, std::min(size - 1, kMostSent)};
  exchanges.limits = TheConfiguration().limits;
  exchanges.limits.rows = (options & kRowLimit) != 0 ? kMostRows : 0;
  SocketPair pair;
  Require(Send(pair.far, exchanges.sent), "a socket takes what is sent");
  const bool stays = (options & kStays) != 0;
  if (!stays) shutdown(pair.far.get(), SHUT_WR);
  host::Connection connection(std::move(pair.near), NoTimeAtAll());
  const auto report = [&](const host::CommandReport& one) { exchanges.reports.push_back(one); };
  const host::ServeResult result =
      host::ServeCommands(connection, TheConfiguration(), page,
                          static_cast<unsigned int>(exchanges.limits.rows), report);
  Require(result.commands == exchanges.reports.size(), "every command is reported");
  exchanges.received = Receive(pair.far);
  if (IsCutOff(result.end)) return;  // more than a client takes that does not read
  CheckEnd(result.end, stays);
  CheckReports(exchanges);
  CheckAnswers(exchanges, TheJournal());
}

}  // namespace packetdb::fuzz
