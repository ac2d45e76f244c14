#include "tests/system/support/ask.h"

#include <gtest/gtest.h>
#include <ostream>
#include <sstream>
#include <stdexcept>

#include "host/bus/client.h"
#include "host/bus/message.h"
#include "tests/system/support/eventually.h"

namespace packetdb::host::test {

Query QueryOf(const std::string& name) {
  Query query;
  name.copy(query.m_Interface, sizeof query.m_Interface - 1);
  query.m_TimeEnd = 0x7FFFFFFF;
  return query;
}

std::unique_ptr<Connection> Connect(const std::string& socket) {
  Timeouts timeouts;
  timeouts.wait = timeouts.frame = timeouts.send = timeouts.connect = kPatience;
  BusFailure failure;
  auto connection = ConnectTo(socket, timeouts, &failure);
  if (connection == nullptr) {
    ADD_FAILURE() << failure.text;
    throw std::runtime_error(failure.text);
  }
  return connection;
}

Answer Ask(Connection& connection, Query query) {
  Message message(connection);
  Answer answer;
  answer.status = query.process(&message, &answer.rows);
  return answer;
}

Answer Ask(const std::string& socket, const Query& query) { return Ask(*Connect(socket), query); }

std::vector<nlohmann::json> AskByCommand(const std::string& socket,
                                         const Program::Arguments& arguments) {
  Program::Arguments all = {"query", "--socket", socket, "--output", "ndjson", "--reverse"};
  all.insert(all.end(), arguments.begin(), arguments.end());
  const Outcome outcome = RunCommand(all);
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  std::vector<nlohmann::json> rows;
  std::istringstream lines(outcome.out);
  for (std::string line; std::getline(lines, line);) {
    rows.push_back(nlohmann::json::parse(line));
  }
  return rows;
}

Sums SumsOf(const std::vector<nlohmann::json>& rows) {
  Sums sums;
  for (const nlohmann::json& row : rows) {
    sums.packets += row.at("count").get<std::uint64_t>();
    sums.bytes += row.at("bytes").get<std::uint64_t>();
  }
  return sums;
}

std::ostream& operator<<(std::ostream& out, const Sums& sums) {
  return out << sums.packets << " packets, " << sums.bytes << " bytes";
}

}  // namespace packetdb::host::test
