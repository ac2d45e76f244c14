// A command handler and a client that call the bus as the journal's do: the same columns, the same
// order of calls, the same looks at results.
#pragma once

#include <cstdint>
#include <vector>

#include "platform/bus.h"
#include "tests/host/bus/support.h"

namespace packetdb::host {

struct JournalQuery {
  char interface[32] = "wan";
  std::uint8_t version = 1;
  std::int64_t time_start = 0;  // 0: not sent, as with every criterion
  std::uint32_t record_limit = 0;
  std::uint16_t port = 0;
  std::vector<unsigned char> protocols;
  std::vector<int> codes;
};

struct JournalRow {
  std::uint32_t count, first_time, last_time, source, destination, flags, code, source_id,
      destination_id, packet_size;
  std::uint16_t word, source_port, destination_port;
  std::uint8_t byte, protocol;
  bool operator==(const JournalRow&) const = default;
};

// Rows that differ in every field.
std::vector<JournalRow> SampleRows(unsigned int count);

// Declares and writes the query. False when the header or the record was refused.
bool WriteJournalQuery(CAbstractPacketOptions& message, const JournalQuery& query);

// Asks and reads the rows. Returns the answer code, or -101 when writing or reading fails.
int AskJournal(CAbstractPacketOptions& message, const JournalQuery& query,
               std::vector<JournalRow>* rows);

// What a handler sees of a query.
JournalQuery ReadJournalQuery(const CAbstractPacketOptions& message);

// Sends 0 and the rows, or -3 for none; throws std::runtime_error when a call fails.
void SendJournalRows(CAbstractPacketOptions& message, const std::vector<JournalRow>& rows);

// A handler that answers with these rows, at most as many as the query wants; -100 for version 0.
void RegisterJournal(Dispatcher& dispatcher, const std::vector<JournalRow>& rows);

}  // namespace packetdb::host
