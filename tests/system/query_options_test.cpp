// Every option of `packetdb query`, from the command line to the printed rows.
#include <arpa/inet.h>
#include <functional>
#include <gmock/gmock.h>
#include <ostream>
#include <random>

#include "tests/system/support/ask.h"
#include "tests/system/support/daemon.h"
#include "tests/system/support/naive_filter.h"
#include "tests/system/support/records.h"

namespace packetdb::host::test {
namespace {

constexpr std::size_t kStored = 300;

struct OptionsRow {
  const char* name;
  Program::Arguments arguments;
  std::function<void(Query&)> meaning;
};

void PrintTo(const OptionsRow& row, std::ostream* out) { *out << row.name; }

class QueryOptionsTest : public testing::TestWithParam<OptionsRow> {};

std::uint32_t AddressIn(const nlohmann::json& text) {
  return ntohl(inet_addr(text.get<std::string>().c_str()));
}

std::uint32_t TimeIn(const nlohmann::json& unix_seconds) {
  return static_cast<std::uint32_t>(unix_seconds.get<std::int64_t>() - TIME_1980_OFFSET);
}

// What a printed row says, as an event.
CDrvErrorItemV4 EventIn(const nlohmann::json& row) {
  CDrvErrorItemV4 event{};
  event.m_FirstTime = TimeIn(row.at("first_seen_unix"));
  event.m_LastTime = TimeIn(row.at("last_seen_unix"));
  event.m_Count = row.at("count").get<std::uint32_t>();
  event.m_PacketSize = row.at("bytes").get<std::uint32_t>();
  event.m_Protocol = row.at("protocol_number").get<std::uint8_t>();
  event.m_SrcIp = AddressIn(row.at("src"));
  event.m_SrcPort = row.at("src_port").get<std::uint16_t>();
  event.m_SrcId = row.at("src_node").get<std::uint32_t>();
  event.m_DstIp = AddressIn(row.at("dst"));
  event.m_DstPort = row.at("dst_port").get<std::uint16_t>();
  event.m_DstId = row.at("dst_node").get<std::uint32_t>();
  event.m_ErrorCode = row.at("event").get<std::uint32_t>();
  event.m_Flags = row.at("flags_value").get<std::uint32_t>();
  return event;
}

// Rows show the 16-bit word of ICMP only.
std::vector<SeenEvent> WithoutWords(std::vector<SeenEvent> events) {
  for (SeenEvent& seen : events) {
    seen.event.m_Word10 = 0;
  }
  return events;
}

TEST_P(QueryOptionsTest, SelectTheirRows) {
  std::mt19937 random(2);
  const std::vector<SeenEvent> events = WithoutWords(VariedEvents(kStored, random));
  const TemporaryDirectory journals;
  Journal(journals.path(), "edge", events);
  const Daemon daemon(journals.path());
  Query query = QueryOf(GetParam().arguments.front());
  GetParam().meaning(query);
  std::vector<std::string> rows;
  for (const nlohmann::json& row : AskByCommand(daemon.socket(), GetParam().arguments)) {
    rows.push_back(Served(EventIn(row)));
  }
  EXPECT_FALSE(rows.empty());
  EXPECT_LT(rows.size(), kStored);
  EXPECT_THAT(rows, testing::ElementsAreArray(NaiveAnswer(query, "edge", events)));
}

const std::vector<OptionsRow>& AllOptions() {
  static const std::vector<OptionsRow> options = {
      {"Interface", {"wan"}, [](Query&) {}},
      {"Since", {"edge", "--since", "@1600000400"}, [](Query& q) { q.m_TimeStart = 1600000400; }},
      {"Until", {"edge", "-U", "2020-09-13T12:30:00Z"}, [](Query& q) { q.m_TimeEnd = 1600000200; }},
      {"Limit", {"edge", "-n", "11"}, [](Query& q) { q.m_RecCount = 11; }},
      {"SourceNetwork",
       {"edge", "--src", "10.0.0.0/24"},
       [](Query& q) {
         q.m_IpSrcFrom = 0x0A000000;
         q.m_IpSrcTo = 0x0A0000FF;
       }},
      {"DestinationRange",
       {"edge", "--dst", "10.0.0.2-128.0.0.0"},
       [](Query& q) {
         q.m_IpDstFrom = 0x0A000002;
         q.m_IpDstTo = 0x80000000;
       }},
      {"Ports",
       {"edge", "--src-port", "1-53", "--dst-port", "80"},
       [](Query& q) {
         q.m_PortSrcFrom = 1;
         q.m_PortSrcTo = 53;
         q.m_PortDstFrom = 80;
       }},
      {"Nodes",
       {"edge", "--src-node", "0x80000001", "--dst-node", "7"},
       [](Query& q) {
         q.m_IdSrc = 0x80000001;
         q.m_IdDst = 7;
       }},
      {"Protocols",
       {"edge", "-p", "icmp,47"},
       [](Query& q) {
         q.m_Protocols = {{1, 47}};
       }},
      {"OtherProtocols",
       {"edge", "--protocol", "other"},
       [](Query& q) { q.m_Protocols = {{255}}; }},
      {"Events",
       {"edge", "--event", "3,-14"},
       [](Query& q) {
         q.m_Errcodes = {{3, -14}};
       }},
      {"GroupOfEventsFirst", {"edge", "--event=-5"}, [](Query& q) { q.m_Errcodes = {{-5}}; }},
      {"Flags",
       {"edge", "--flags", "in,dropped", "--not-flags", "0x1000000"},
       [](Query& q) {
         q.m_FlagsWanted = 0x21;
         q.m_FlagsNotWanted = 0x01000000;
       }},
      {"BothDirections",
       {"edge", "-b", "--src", "10.0.0.1", "--dst-port", "80"},
       [](Query& q) {
         q.m_Direction = 1;
         q.m_IpSrcFrom = 0x0A000001;
         q.m_PortDstFrom = 80;
       }},
  };
  return options;
}

INSTANTIATE_TEST_SUITE_P(Command, QueryOptionsTest, testing::ValuesIn(AllOptions()),
                         [](const auto& row) { return row.param.name; });

}  // namespace
}  // namespace packetdb::host::test
