#include "host/cli/explain.h"

#include "host/bus/commands.h"
#include "host/bus/message.h"
#include "host/cli/asking.h"

namespace packetdb::host {

std::string ExplainLastQuery(Connection& connection) {
  Message message(connection);
  if (!WriteCommand(message, kCommandExplain) || udbGetCommandAnswer(&message) != 0) {
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
