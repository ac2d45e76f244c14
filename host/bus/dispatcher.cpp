#include "host/bus/dispatcher.h"

#include "host/bus/answer_code.h"

namespace packetdb::host {
namespace {

CommandOutcome CallHandler(UdbDispatcher::IUdbCallback& handler, Message& message) {
  try {
    if (handler.call(&message) < 0) return CommandOutcome::kHandlerFailed;
  } catch (...) {
    // One failed command, whatever it was that went wrong.
    return CommandOutcome::kHandlerThrew;
  }
  if (!message.sent_answer()) return CommandOutcome::kNotAnswered;
  return message.IsTableOpen() ? CommandOutcome::kTableUnfinished : CommandOutcome::kServed;
}

}  // namespace

std::string_view OutcomeText(CommandOutcome outcome) {
  switch (outcome) {
    case CommandOutcome::kServed:
      return "served";
    case CommandOutcome::kUnknownCommand:
      return "unknown command";
    case CommandOutcome::kDisabled:
      return "disabled command";
    case CommandOutcome::kHandlerFailed:
      return "the handler failed";
    case CommandOutcome::kHandlerThrew:
      return "the handler threw an exception";
    case CommandOutcome::kNotAnswered:
      return "the handler gave no answer";
    case CommandOutcome::kTableUnfinished:
      return "the handler did not complete its table";
  }
  return "unknown outcome";
}

UdbDispatcher::IUdbCallback* Dispatcher::FindEnabled(int command, bool* known) const {
  *known = false;
  for (const auto& entry : commands_) {
    if (entry.m_command != command || !entry.m_callback) continue;
    *known = true;
    if (entry.m_callback->enabled()) return entry.m_callback.get();
  }
  return nullptr;
}

CommandOutcome Dispatcher::Serve(int command, Message& message) {
  bool known = false;
  UdbDispatcher::IUdbCallback* handler = FindEnabled(command, &known);
  if (handler == nullptr) {
    message.SendCommandAnswer(known ? kAnswerCommandDisabled : kAnswerUnknownCommand);
    return known ? CommandOutcome::kDisabled : CommandOutcome::kUnknownCommand;
  }
  const CommandOutcome outcome = CallHandler(*handler, message);
  // The message refuses this where the answer is complete already.
  if (outcome != CommandOutcome::kServed) message.SendCommandAnswer(kAnswerNothingOrFailed);
  return outcome;
}

CommandReport Dispatcher::Dispatch(int command, Message& message) {
  CommandReport report;
  report.command = command;
  report.outcome = Serve(command, message);
  report.answer = message.sent_answer();
  report.last_error = message.LastError();
  return report;
}

}  // namespace packetdb::host
