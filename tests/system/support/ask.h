// Asking a daemon, through the library's own client or through the command.
#pragma once

#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "host/bus/connection.h"
#include "packetdb/query.h"
#include "tests/system/support/program.h"

namespace packetdb::host::test {

struct Answer {
  int status = 0;
  std::vector<PacketDbClientItem> rows;
};

// Everything that `name` stands for.
Query QueryOf(const std::string& name);

// A connection to the socket; one that cannot be made fails the test and throws.
std::unique_ptr<Connection> Connect(const std::string& socket);

// One exchange on an open connection.
Answer Ask(Connection& connection, Query query);
// One exchange on a connection of its own.
Answer Ask(const std::string& socket, const Query& query);

// The rows that `packetdb query` prints for these arguments behind the socket.
std::vector<nlohmann::json> AskByCommand(const std::string& socket,
                                         const Program::Arguments& arguments);

// The packets and bytes that rows stand for.
struct Sums {
  std::uint64_t packets = 0;
  std::uint64_t bytes = 0;

  bool operator==(const Sums&) const = default;
};
Sums SumsOf(const std::vector<nlohmann::json>& rows);
std::ostream& operator<<(std::ostream& out, const Sums& sums);

}  // namespace packetdb::host::test
