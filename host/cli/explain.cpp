#include "host/cli/explain.h"

#include "host/bus/columns.h"
#include "host/bus/commands.h"
#include "host/bus/message.h"
#include "host/bus/table_header.h"

namespace packetdb::host {

namespace {

bool WriteRequest(Message& message) {
  constexpr unsigned int kColumnCommand = 0;
  const int command = kCommandExplain;
  message.SetKind(kKindRequest);
  message.AddColumn(kIntegerBit | kColumnCommand, sizeof command);
  message.SetRecordCount(1);
  if (message.WriteHeader() < 0) {
    return false;
  }
  message.SetValue(kColumnCommand, &command);
  return message.WriteRecord() >= 0;
}

}  // namespace

std::string ExplainLastQuery(Connection& connection) {
  Message message(connection);
  if (!WriteRequest(message) || udbGetCommandAnswer(&message) != 0) {
    return {};
  }
  message.BeginRead();
  if (message.ReadHeader() < 0 || message.ReadRecord() < 0) {
    return {};
  }
  unsigned int size = 0;
  const void* text = message.GetRaw(kColumnReason, &size);
  return text != nullptr ? std::string(static_cast<const char*>(text), size) : std::string();
}

}  // namespace packetdb::host
