#include "host/cli/json_text.h"

#include "host/times/time_text.h"
#include "packetdb/storage.h"

namespace packetdb::host {

std::string JsonLine(const OrderedJson& object) {
  constexpr int kOneLine = -1;
  return object.dump(kOneLine, ' ', false, OrderedJson::error_handler_t::replace) + "\n";
}

void AddJournalTime(OrderedJson& object, const std::string& name, std::uint32_t seconds) {
  const std::int64_t unix_seconds = std::int64_t{seconds} + TIME_1980_OFFSET;
  object[name] = Rfc3339Time(unix_seconds);
  object[name + "_unix"] = unix_seconds;
}

}  // namespace packetdb::host
