// What a daemon tells in objects of JSON; docs/bus_protocol.md has their keys. It may be of another
// release: nothing is taken for granted but that each object has a kind.
#pragma once

#include <cstdint>
#include <functional>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <string_view>

#include "host/bus/connection.h"
#include "host/bus/message.h"
#include "host/reading/row_source.h"

namespace packetdb::host {

using ToldObject = nlohmann::ordered_json;
using ObjectSink = std::function<void(std::string_view kind, const ToldObject& object)>;

// Asks by a command that has no options. Objects without a kind, and what is none, are passed over.
// kFailed for a daemon that does not know the command.
ReadResult AskForObjects(Connection& connection, int command, const ObjectSink& sink);

// The value under a key; none when it is missing or of another type.
std::optional<std::string> TextUnder(const ToldObject& object, const char* key);
std::optional<std::int64_t> NumberUnder(const ToldObject& object, const char* key);
bool TruthUnder(const ToldObject& object, const char* key);

// Begins the request of a command without options and waits for the answer code.
int AskCommand(Message& message, int command);

// What to say of an exchange that brought no answer, or not all of one.
ReadResult ExchangeFailed(int answer, const Message& message, const Connection& connection);

}  // namespace packetdb::host
