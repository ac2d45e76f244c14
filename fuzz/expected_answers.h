// What a client of the bus has to be answered: its requests read a second time, the rows chosen by
// a filter that has no code of the library's, and the answers read as a client reads them.
#pragma once

#include <span>
#include <vector>

#include "fuzz/asked_journal.h"
#include "host/bus/serve.h"
#include "host/config/configuration.h"

namespace packetdb::fuzz {

struct Exchanges {
  std::span<const std::uint8_t> sent;  // by the client
  host::LimitSettings limits;          // of these: message, columns, rows
  std::vector<host::CommandReport> reports;
  std::vector<std::uint8_t> received;  // by the client
};

// Aborts with a line on stderr when the answers are not those to the requests.
void CheckAnswers(const Exchanges& exchanges, const AskedJournal& journal);

}  // namespace packetdb::fuzz
