// What tells a journal from any other record file, and today's from those of earlier releases: the
// magic and the record size that the record file is opened with.
#pragma once

#include "packetdb/storage.h"

namespace packetdb {

// Format 4, the one that is written: records as PacketDbItemPacked has them.
inline constexpr char kJournalMagic[] = "Zolrak-Packet-Database-4";
inline constexpr unsigned long kJournalRecordSize = sizeof(PacketDbItemPacked);

// Formats of earlier releases, which are read only to be converted. Format 4.1 has today's magic;
// the record size alone tells it apart.
inline constexpr char kFormat3Magic[] = "Zolrak-Packet-Database";
inline constexpr unsigned long kFormat3RecordSize = 60;
inline constexpr unsigned long kFormat41RecordSize = 64;

}  // namespace packetdb
