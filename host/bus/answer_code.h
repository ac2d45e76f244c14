// The codes that stand for the outcome of a command: those that travel in an answer frame, and
// those that udbGetCommandAnswer makes up itself when no answer arrives.
#pragma once

#include <string_view>

namespace packetdb::host {

enum AnswerCode : int {
  kAnswerOk = 0,
  // Nothing to report, or the handler failed: the journal command does not tell the two apart.
  kAnswerNothingOrFailed = -3,
  kAnswerUnknownCommand = -110,   // nobody registered the command
  kAnswerCommandDisabled = -111,  // somebody did, and it is switched off

  // Never on the wire: the client's end could not ask, or got no answer that it understands.
  kAnswerNotAsked = -200,     // the message holds no completely written command
  kAnswerWriteFailed = -201,  // the command could not be sent
  kAnswerTimedOut = -202,
  kAnswerClosed = -203,      // the server closed the connection
  kAnswerMalformed = -204,   // the server does not speak this protocol
  kAnswerReadFailed = -205,  // any other failure of the connection
};

// Whether a code belongs to the client's end (-299 to -200), so that no server may send it.
constexpr bool IsLocalAnswer(int answer) { return answer >= -299 && answer <= -200; }

// What a code means, for people; codes of single commands are not known here.
std::string_view AnswerText(int answer);

}  // namespace packetdb::host
