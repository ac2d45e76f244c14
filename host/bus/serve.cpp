#include "host/bus/serve.h"

#include <optional>
#include <string>

namespace packetdb::host {
namespace {

constexpr unsigned int kCommandColumn = 0;
constexpr unsigned int kCommandSize = 4;

// A request is one record that is announced as such: no more can be in flight, however long the
// handler takes.
bool IsRequest(const TableHeader& header) {
  return header.kind == kKindRequest && header.record_count == 1 && !header.marker;
}

// Reads a request up to the end of its record and returns its command. Without one the connection
// has failed.
std::optional<int> ReceiveRequest(Connection& connection, Message& message,
                                  const RequestLimits& limits) {
  message.BeginRead();
  if (message.ReadHeader() < 0) return std::nullopt;
  const std::size_t columns = message.received().columns.All().size();
  if (columns > limits.columns) {
    connection.Fail(BusError::kRequestTooLarge, std::to_string(columns) + " columns");
    return std::nullopt;
  }
  if (!IsRequest(message.received())) {
    connection.Fail(BusError::kNotARequest);
    return std::nullopt;
  }
  const Column* command = message.received().columns.Find(kCommandColumn);
  if (command == nullptr || !command->integer || command->size != kCommandSize) {
    connection.Fail(BusError::kNoCommand);
    return std::nullopt;
  }
  if (message.ReadRecord() < 0) return std::nullopt;
  return message.GetInt(kCommandColumn, nullptr);
}

bool ServeOne(Connection& connection, Dispatcher& dispatcher, const CommandObserver& observer,
              const RequestLimits& limits) {
  Message message(connection);
  const std::optional<int> command = ReceiveRequest(connection, message, limits);
  if (!command) return false;
  const CommandReport report = dispatcher.Dispatch(*command, message);
  connection.Flush();
  if (observer) observer(report);
  return true;
}

}  // namespace

ServeResult ServeConnection(Connection& connection, Dispatcher& dispatcher,
                            const CommandObserver& observer, const RequestLimits& limits) {
  ServeResult result;
  while (ServeOne(connection, dispatcher, observer, limits)) ++result.commands;
  result.end = connection.failure();
  return result;
}

}  // namespace packetdb::host
