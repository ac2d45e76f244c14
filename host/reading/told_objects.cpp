#include "host/reading/told_objects.h"

#include <cstring>
#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "host/bus/answer_code.h"
#include "host/bus/columns.h"
#include "host/bus/commands.h"
#include "packetdb/query.h"

namespace packetdb::host {

namespace {

// The text of the record read last, without the NULs that fill it up.
std::string_view TextOf(const Message& message) {
  unsigned int size = 0;
  const auto* text = static_cast<const char*>(message.GetRaw(kColumnText, &size));
  return text == nullptr ? std::string_view() : std::string_view(text, strnlen(text, size));
}

void TakeObject(std::string_view text, const ObjectSink& sink) {
  constexpr bool kThrows = false;
  const ToldObject object = ToldObject::parse(text, nullptr, kThrows);
  if (const auto kind = TextUnder(object, "kind"); kind) {
    sink(*kind, object);
  }
}

void TakeLines(std::string_view text, const ObjectSink& sink) {
  while (!text.empty()) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    TakeObject(text.substr(0, end), sink);
    text.remove_prefix(std::min(end + 1, text.size()));
  }
}

}  // namespace

ReadResult AskForObjects(Connection& connection, int command, const ObjectSink& sink) {
  Message message(connection);
  if (const int answer = AskCommand(message, command); answer != kAnswerOk) {
    return ExchangeFailed(answer, message, connection);
  }
  message.BeginRead();
  int status = message.ReadHeader();
  while (status >= 0 && (status = message.ReadRecord()) >= 0 && message.IsMarker() == 0) {
    TakeLines(TextOf(message), sink);
  }
  return status >= 0 ? ReadResult() : ExchangeFailed(UDB_QUERY_FAILED, message, connection);
}

std::optional<std::string> TextUnder(const ToldObject& object, const char* key) {
  const auto value = object.is_object() ? object.find(key) : object.end();
  if (value == object.end() || !value->is_string()) {
    return std::nullopt;
  }
  return value->get<std::string>();
}

std::optional<std::int64_t> NumberUnder(const ToldObject& object, const char* key) {
  const auto value = object.is_object() ? object.find(key) : object.end();
  if (value == object.end() || !value->is_number_integer()) {
    return std::nullopt;
  }
  return value->get<std::int64_t>();
}

bool TruthUnder(const ToldObject& object, const char* key) {
  const auto value = object.is_object() ? object.find(key) : object.end();
  return value != object.end() && value->is_boolean() && value->get<bool>();
}

int AskCommand(Message& message, int command) {
  constexpr unsigned int kColumnCommand = 0;
  message.SetKind(kKindRequest);
  message.AddColumn(kIntegerBit | kColumnCommand, sizeof command);
  message.SetRecordCount(1);
  if (message.WriteHeader() < 0) {
    return UDB_QUERY_FAILED;
  }
  message.SetValue(kColumnCommand, &command);
  return message.WriteRecord() < 0 ? UDB_QUERY_FAILED : udbGetCommandAnswer(&message);
}

ReadResult ExchangeFailed(int answer, const Message& message, const Connection& connection) {
  if (!connection.sound()) {
    return {ReadOutcome::kLost,
            fmt::format("the answer did not arrive: {}", connection.failure().text)};
  }
  if (answer == UDB_QUERY_FAILED) {
    return {ReadOutcome::kTooMuchWork,
            fmt::format("the answer is incomplete: {}; the daemon's log says why",
                        ErrorText(static_cast<BusError>(message.LastError())))};
  }
  return {ReadOutcome::kFailed,
          fmt::format("the daemon refused the query with {}: {}", answer, AnswerText(answer))};
}

}  // namespace packetdb::host
