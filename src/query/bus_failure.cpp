#include "src/query/bus_failure.h"

#include "packetdb/query.h"
#include "platform/bus.h"
#include "src/log.h"

namespace packetdb {

namespace {

constexpr char kLogSource[] = "src/query";

}  // namespace

int BusFailure(const CAbstractPacketOptions& message, int plain_code, const char* plain,
               const char* with_code) {
  const int error = message.LastError();
  if (error == plain_code) {
    PACKETDB_LOG(log::kFailure) << plain;
  } else {
    PACKETDB_LOG(log::kFailure) << with_code << error;
  }
  return UDB_QUERY_FAILED;
}

}  // namespace packetdb
