#include "packetdb/storage.h"

namespace packetdb {

IJournalStorage::~IJournalStorage() = default;

XPacketDb::XPacketDb(const std::string& message, bool fatal)
    : std::runtime_error(message), m_Fatal(fatal) {}

XPacketDb::~XPacketDb() = default;

}  // namespace packetdb
