// How the client's side reports a bus operation that failed.
#pragma once

class CAbstractPacketOptions;

namespace packetdb {

// Logs `plain` when the message's last error is `plain_code`, otherwise `with_code` and the error.
// Returns UDB_QUERY_FAILED.
int BusFailure(const CAbstractPacketOptions& message, int plain_code, const char* plain,
               const char* with_code);

}  // namespace packetdb
