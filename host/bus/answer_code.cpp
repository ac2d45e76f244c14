#include "host/bus/answer_code.h"

namespace packetdb::host {

std::string_view AnswerText(int answer) {
  switch (answer) {
    case kAnswerOk:
      return "success";
    case kAnswerNothingOrFailed:
      return "nothing found, or the command failed";
    case kAnswerUnknownCommand:
      return "the server does not know the command";
    case kAnswerCommandDisabled:
      return "the command is switched off";
    case kAnswerNotAsked:
      return "no complete command was written";
    case kAnswerWriteFailed:
      return "the command could not be sent";
    case kAnswerTimedOut:
      return "no answer came in time";
    case kAnswerClosed:
      return "the server closed the connection";
    case kAnswerMalformed:
      return "the server sent something that is no answer";
    case kAnswerReadFailed:
      return "the answer could not be read";
    default:
      return "a code of the command's own";
  }
}

}  // namespace packetdb::host
