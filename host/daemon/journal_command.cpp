#include "host/daemon/journal_command.h"

#include <cstring>
#include <exception>
#include <fmt/format.h>
#include <optional>
#include <utility>

#include "host/bus/answer_code.h"
#include "host/bus/commands.h"
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

bool SendText(CAbstractPacketOptions& message, const std::string& text) {
  constexpr int kNotAnnounced = -1;
  constexpr int kMarkerFollows = 1;
  message.SetKind(kKindAnswer);
  message.SetRecordCount(kNotAnnounced);
  message.SetMarkerFlag(kMarkerFollows);
  return message.AddColumn(kColumnReason, static_cast<unsigned int>(text.size())) >= 0 &&
         message.WriteHeader() >= 0 && message.SetValue(kColumnReason, text.data()) >= 0 &&
         message.WriteRecord() >= 0 && message.WriteMarker() >= 0;
}

}  // namespace

JournalCommand::JournalCommand(std::string directory,
                               const boost::shared_ptr<ConnectionState>& state)
    : directory_(std::move(directory)), state_(state) {}

int JournalCommand::call(CAbstractPacketOptions* message) {
  try {
    return Serve(message);
  } catch (const std::exception& error) {
    WriteLog(1, error.what());
    state_->failure = error.what();
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
      WriteLog(1,
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
    WriteLog(2, problem);
  }
  state_->failure = WhyNotServed(journals, NameAskedFor(message));
  UdbDispatcher::CommandCallbacksT<int> library;
  UdbJournalServer::RegisterCallbacks(journals.registry(), library);
  const int status = library.front().m_callback->call(&message);
  if (status < 0) {
    state_->failure =
        "the journal could not be read, or the answer was too large for the memory "
        "that a query may use";
  }
  return status;
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
  return reason.empty() || SendText(*message, reason) ? kHandled : kCallFailed;
}

const char* ExplainCommand::desc() const { return "explaining why the last query failed"; }

UdbDispatcher::IUdbCallback* ExplainCommand::Clone() const { return new ExplainCommand(state_); }

}  // namespace packetdb::host
