// What the commands that ask a daemon have in common: reaching it, and saying why it did not
// answer.
#pragma once

#include <memory>
#include <string>

#include "host/bus/connection.h"
#include "host/bus/message.h"
#include "host/cli/exit_code.h"

namespace packetdb::host {

// The socket that is meant by an option's value, which may be empty.
std::string SocketOf(const std::string& given);

// Connects to the daemon at `socket`, or at its usual one when that is empty; its answer may take
// `timeout_seconds` to begin. Null, with a complaint and the status that says so, when nobody can
// be reached there.
std::unique_ptr<Connection> Reach(const std::string& socket, int timeout_seconds, ExitCode* status);

// Begins the request of a command that has no options. False when it could not be sent.
bool WriteCommand(Message& message, int command);

// Complains that no answer came, or one with a code that is not 0, and returns the status that says
// so.
ExitCode AskingFailed(int answer, const Message& message, const Connection& connection);

}  // namespace packetdb::host
