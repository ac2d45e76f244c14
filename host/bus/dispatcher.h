// Finds the handler of a command and sees to it that the client gets an answer.
#pragma once

#include <optional>
#include <string_view>

#include "host/bus/message.h"
#include "platform/bus.h"

namespace packetdb::host {

// How serving one command went.
enum class CommandOutcome {
  kServed,           // the handler answered, and completed the table if it began one
  kUnknownCommand,   // answered kAnswerUnknownCommand
  kDisabled,         // answered kAnswerCommandDisabled
  kHandlerFailed,    // the handler returned a negative status
  kHandlerThrew,     // the handler let an exception through
  kNotAnswered,      // the handler claimed success without an answer
  kTableUnfinished,  // the handler claimed success in the middle of a table
};

std::string_view OutcomeText(CommandOutcome outcome);

struct CommandReport {
  int command = 0;
  CommandOutcome outcome = CommandOutcome::kServed;
  // What was sent last; nothing when the connection did not take any answer.
  std::optional<int> answer;
  int last_error = 0;  // the message's
};

class Dispatcher {
 public:
  // The table, for handlers to be registered in.
  UdbDispatcher::CommandCallbacksT<int>& commands() { return commands_; }

  // Serves the command of a message whose record has been read: calls the first enabled handler
  // that is registered for it. A client never waits in vain: a handler that ends without having
  // completed its answer gets kAnswerNothingOrFailed sent in its place. Nothing that a handler
  // throws comes out.
  CommandReport Dispatch(int command, Message& message);

 private:
  CommandOutcome Serve(int command, Message& message);
  UdbDispatcher::IUdbCallback* FindEnabled(int command, bool* known) const;

  UdbDispatcher::CommandCallbacksT<int> commands_;
};

}  // namespace packetdb::host
