#include "host/daemon/journal_command.h"

#include <cstring>
#include <exception>
#include <fmt/format.h>
#include <optional>
#include <utility>

#include "host/bus/answer_code.h"
#include "host/bus/columns.h"
#include "host/bus/message.h"
#include "host/bus/table_header.h"
#include "host/journals/open_journals.h"
#include "host/log/log.h"
#include "host/record_file/record_view.h"
#include "host/record_file/settings.h"
#include "packetdb/journal_server.h"

namespace packetdb::host {

namespace {

constexpr int kHandled = 0;
constexpr int kCallFailed = -1;

// The name in a query; empty when there is none, which the library refuses.
std::string NameAskedFor(const CAbstractPacketOptions& message) {
  constexpr unsigned int kOptionName = 30;
  unsigned int size = 0;
  const void* bytes = message.GetRaw(kOptionName, &size);
  if (bytes == nullptr) {
    return {};
  }
  const auto* name = static_cast<const char*>(bytes);
  return {name, strnlen(name, size)};
}

// Whether a query asks for so few rows by itself. Clients of the old protocol get no rows at all.
bool IsWithin(const CAbstractPacketOptions& message, unsigned int limit) {
  constexpr unsigned int kOptionRows = 8;
  constexpr unsigned int kOptionVersion = 31;
  const auto rows = static_cast<unsigned int>(message.GetInt(kOptionRows, nullptr));
  return (rows != 0 && rows <= limit) || message.GetByte(kOptionVersion, nullptr) == 0;
}

std::string TooManyRows(unsigned int limit) {
  return fmt::format(
      "the answer has more than {0} rows, which is the most that anyone but root "
      "gets; ask for less, or for the newest with --limit {0}",
      limit);
}

std::string WhyNotServed(const OpenJournals& journals, const std::string& name) {
  if (journals.registry()->GetActualStorage(name)) {
    return {};
  }
  std::string reason = fmt::format("no journal or interface is called '{}'", name);
  if (!journals.problems().empty()) {
    reason += fmt::format("; not served: {}", fmt::join(journals.problems(), "; "));
  }
  return reason;
}

bool SendReason(CAbstractPacketOptions& message, const std::string& text, QueryRefusal refusal) {
  constexpr int kNotAnnounced = -1;
  constexpr int kMarkerFollows = 1;
  message.SetKind(kKindAnswer);
  message.SetRecordCount(kNotAnnounced);
  message.SetMarkerFlag(kMarkerFollows);
  message.AddColumn(kColumnReason, static_cast<unsigned int>(text.size()));
  message.AddColumn(kIntegerBit | kColumnRefusal, sizeof refusal);
  if (message.WriteHeader() < 0) {
    return false;
  }
  message.SetValue(kColumnReason, text.data());
  message.SetValue(kColumnRefusal, &refusal);
  return message.WriteRecord() >= 0 && message.WriteMarker() >= 0;
}

}  // namespace

JournalCommand::JournalCommand(std::string directory,
                               const boost::shared_ptr<ConnectionState>& state)
    : directory_(std::move(directory)), state_(state) {}

int JournalCommand::call(CAbstractPacketOptions* message) {
  try {
    return Serve(message);
  } catch (const std::exception& error) {
    WriteLog(kFailureLevel, error.what());
    Refuse(QueryRefusal::kNoAnswer, error.what());
    return kCallFailed;
  }
}

// A record that turns out to be damaged, or that its writer has overtaken, makes the library give
// up. Asked again, with all journals looked through first, it gets on without that record.
int JournalCommand::Serve(CAbstractPacketOptions* request) {
  auto& message = static_cast<Message&>(*request);  // nothing else is attached to a connection
  const std::uint64_t failed_before = FailedReads();
  message.HoldFailure();
  int status = ServeOnce(message);
  if (const std::optional<int> failure = message.ReleaseFailure(); failure) {
    if (FailedReads() != failed_before) {
      WriteLog(kFailureLevel,
               "a query met a damaged record and is answered without it; packetdb check tells "
               "which it is");
      const ThoroughOpening thorough;
      status = ServeOnce(message);
    } else {
      udbSendCommandAnswer(&message, *failure);
    }
  }
  return status;
}

int JournalCommand::ServeOnce(CAbstractPacketOptions& message) {
  const OpenJournals journals(directory_);
  for (const std::string& problem : journals.problems()) {
    WriteLog(kNoticeLevel, problem);
  }
  Refuse(QueryRefusal::kNoSuchName, WhyNotServed(journals, NameAskedFor(message)));
  const int status = Answer(journals, message);
  if (status < 0) {
    Refuse(QueryRefusal::kNoAnswer,
           "the journal could not be read, or the answer was too large for the memory "
           "that a query may use");
  }
  return status;
}

// The library answers. Where it could select more rows than this client may have, it selects at
// most one more, and what that would be the answer to is refused.
int JournalCommand::Answer(const OpenJournals& journals, CAbstractPacketOptions& message) {
  UdbJournalServer library(journals.registry());
  if (state_->row_limit == 0 || IsWithin(message, state_->row_limit)) {
    return library.call(&message);
  }
  Query query;
  query.read(&message);
  query.m_RecCount = state_->row_limit + 1;
  DbItemSelection selection;
  try {
    library.SelectRecords(query, selection);
    if (selection.size() > state_->row_limit) {
      Refuse(QueryRefusal::kTooManyRows, TooManyRows(state_->row_limit));
      WriteLog(kFailureLevel, state_->failure);
      selection.clear();
    }
    library.SendRows(&message, selection);  // of nothing it says that there is nothing
    return kHandled;
  } catch (const XPacketDb& failure) {
    udbSendCommandAnswer(&message, kAnswerNothingOrFailed);
    WriteLog(kFailureLevel, fmt::format("a query failed: {}", failure.what()));
    return failure.m_Fatal ? kCallFailed : kHandled;
  }
}

// Without a reason, nothing is refused.
void JournalCommand::Refuse(QueryRefusal refusal, const std::string& reason) {
  state_->failure = reason;
  state_->refusal = refusal;
}

const char* JournalCommand::desc() const { return "answering journal queries"; }

UdbDispatcher::IUdbCallback* JournalCommand::Clone() const {
  return new JournalCommand(directory_, state_);
}

int ExplainCommand::call(CAbstractPacketOptions* message) {
  constexpr std::size_t kLongestReason = 4096;
  const std::string reason = state_->failure.substr(0, kLongestReason);
  if (udbSendCommandAnswer(message, reason.empty() ? kAnswerNothingOrFailed : kAnswerOk) < 0) {
    return kCallFailed;
  }
  return reason.empty() || SendReason(*message, reason, state_->refusal) ? kHandled : kCallFailed;
}

const char* ExplainCommand::desc() const { return "explaining why the last query failed"; }

UdbDispatcher::IUdbCallback* ExplainCommand::Clone() const { return new ExplainCommand(state_); }

}  // namespace packetdb::host
