#include "fuzz/expected_answers.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <utility>

#include "fuzz/promise.h"
#include "fuzz/socket_bytes.h"
#include "host/bus/answer_code.h"
#include "host/bus/byte_order.h"
#include "host/bus/commands.h"
#include "host/bus/message.h"
#include "host/daemon/query_limits.h"
#include "packetdb/query.h"
#include "tests/system/support/naive_filter.h"

namespace packetdb::fuzz {
namespace {

using host::Message;
using Rows = std::vector<std::string>;

constexpr int kAnswerOldProtocol = -100;

// Bytes that a connection reads, and nothing behind them.
class Replay {
 public:
  explicit Replay(std::span<const std::uint8_t> bytes)
      : whole_(Send(pair_.far, bytes)), connection_(std::move(pair_.near), NoTimeAtAll()) {}

  bool whole() const { return whole_; }
  host::Connection& connection() { return connection_; }

 private:
  SocketPair pair_;
  bool whole_;
  host::Connection connection_;
};

// No event has a time before 1980, and a negative one of a query is none at all: as the start it
// is later than any, because it is compared without sign; at a negative end the library stops.
bool HasNoTime(const Query& query) { return query.m_TimeStart < 0 || query.m_TimeEnd < 0; }

bool IsNamed(const Query& query, const std::string& name) {
  const std::size_t length = strnlen(query.m_Interface, sizeof query.m_Interface);
  return name == std::string_view(query.m_Interface, length);
}

// Newest first.
Rows ExpectedRows(const Query& query, const AskedJournal& journal) {
  Rows rows;
  if (HasNoTime(query)) return rows;
  for (const host::test::SeenEvent& seen : journal.events()) {
    const bool is_asked = IsNamed(query, kAskedGroup) || IsNamed(query, seen.interface);
    if (is_asked && host::test::Selects(query, seen.event))
      rows.push_back(host::test::Served(seen.event));
  }
  std::reverse(rows.begin(), rows.end());
  if (query.m_RecCount != 0) rows.resize(std::min<std::size_t>(rows.size(), query.m_RecCount));
  return rows;
}

void CheckQuery(const Query& asked, const Exchanges& exchanges, const AskedJournal& journal,
                host::Connection& client) {
  std::vector<PacketDbClientItem> answer;
  Message message(client);
  const int status = Query().process(&message, &answer);
  if (asked.m_Version == 0) return Require(status == kAnswerOldProtocol, "an old client is told");
  Rows expected = ExpectedRows(asked, journal);
  const auto most = static_cast<std::size_t>(exchanges.limits.rows);
  if (most != 0 && expected.size() > most) expected.clear();
  Rows rows;
  rows.reserve(answer.size());
  for (const PacketDbClientItem& row : answer) rows.push_back(host::test::Served(row.m_Item));
  Require(status == (expected.empty() ? host::kAnswerNothingOrFailed : 0), "the answer's code");
  Require(rows == expected, "the rows that a plain filter selects");
}

// The answer code of any other command; a table behind it is read to its end.
int ReadAnswer(host::Connection& client, int command) {
  Message message(client);
  message.SetKind(host::kKindRequest);
  message.AddColumn(host::kIntegerBit, sizeof command);
  message.SetRecordCount(1);
  message.WriteHeader();
  message.SetValue(0, &command);
  message.WriteRecord();
  const int answer = message.GetCommandAnswer();
  if (answer != host::kAnswerOk) return answer;
  message.BeginRead();
  Require(message.ReadHeader() == 0, "a success has a table");
  while (message.IsMarker() == 0) Require(message.ReadRecord() == 0, "a table has an end");
  return answer;
}

void CheckCommand(int command, host::Connection& client) {
  const int answer = ReadAnswer(client, command);
  switch (command) {
    case host::kCommandStatus:
    case host::kCommandJournals:
      return Require(answer == host::kAnswerOk, "status and journals are told");
    case host::kCommandExplain:
      return Require(answer == host::kAnswerOk || answer == host::kAnswerNothingOrFailed,
                     "an explanation, or none");
    default:
      Require(answer == host::kAnswerUnknownCommand, "an unknown command is told");
  }
}

// The length of the frame that the bytes begin with.
std::size_t FrameSize(std::span<const std::uint8_t> bytes) {
  Require(bytes.size() >= host::kPayloadOffset, "a request was sent before it was served");
  const std::size_t size = host::kLengthSize + host::LoadNetwork32(bytes.data());
  Require(size <= bytes.size(), "a request was sent before it was served");
  return size;
}

// The request that the bytes begin with: two frames, which are taken away.
void CheckSize(std::span<const std::uint8_t>* sent, const host::LimitSettings& limits) {
  const std::size_t header = FrameSize(*sent);
  const std::size_t size = header + FrameSize(sent->subspan(header));
  Require(size <= host::LongestRequest(limits), "a request is within its limit");
  *sent = sent->subspan(size);
}

// Reads a request that was served, for the second time.
void ReadRequest(Message& request, const host::CommandReport& report,
                 const host::LimitSettings& limits) {
  request.BeginRead();
  Require(request.ReadHeader() == 0 && request.ReadRecord() == 0, "only requests are served");
  Require(request.GetInt(0, nullptr) == report.command, "the command that was sent");
  const std::size_t columns = request.received().columns.All().size();
  Require(columns <= static_cast<std::size_t>(limits.columns), "columns are within their limit");
}

}  // namespace

void CheckAnswers(const Exchanges& exchanges, const AskedJournal& journal) {
  Replay requests(exchanges.sent);
  Replay answers(exchanges.received);
  if (!answers.whole()) return;  // they took more room before than they get now
  std::span<const std::uint8_t> sent = exchanges.sent;
  for (const host::CommandReport& report : exchanges.reports) {
    CheckSize(&sent, exchanges.limits);
    Message request(requests.connection());
    ReadRequest(request, report, exchanges.limits);
    if (report.command == UDB_GET_DBQUERY) {
      Query asked;
      asked.read(&request);
      CheckQuery(asked, exchanges, journal, answers.connection());
    } else {
      CheckCommand(report.command, answers.connection());
    }
  }
  host::BusFrame more;
  Require(!answers.connection().ReadFrame(host::Wait::kForPeer, &more), "an answer to a request");
  Require(answers.connection().failure().code == host::BusError::kTimedOut, "only whole answers");
}

}  // namespace packetdb::fuzz
