#include <arpa/inet.h>
#include <array>
#include <fmt/format.h>
#include <netinet/in.h>

#include "host/cli/rows.h"
#include "host/cli/text_table.h"
#include "host/cli/words.h"
#include "host/sources/event.h"
#include "host/times/time_text.h"

namespace packetdb::host {

namespace {

const std::vector<TableColumn>& RowColumns() {
  static const std::vector<TableColumn> columns = {
      {"FIRST SEEN"}, {"LAST SEEN"}, {"COUNT", true}, {"BYTES", true}, {"VERDICT"},
      {"DIR"},        {"PROTO"},     {"SOURCE"},      {"DESTINATION"}, {"EVENT", true},
  };
  return columns;
}

std::string VerdictWord(std::uint32_t flags) {
  const auto words = FlagWords(flags & (kFlagAccepted | kFlagDropped | kFlagRejected));
  return words.empty() ? "-" : fmt::format("{}", fmt::join(words, "+"));
}

std::string DirectionWord(std::uint32_t flags) {
  switch (flags & (kFlagIn | kFlagOut)) {
    case kFlagIn:
      return "in";
    case kFlagOut:
      return "out";
    case kFlagIn | kFlagOut:
      return "fwd";
    default:
      return "-";
  }
}

std::string ProtocolCell(const CDrvErrorItemV4& event) {
  std::string word = ProtocolWord(event.m_Protocol);
  if ((event.m_Flags & kFlagLaterFragment) != 0) {
    return word + " frag";
  }
  if (event.m_Protocol == IPPROTO_ICMP) {
    word += fmt::format(" {}/{}", event.m_Word10 >> 8, event.m_Word10 & 0xFF);
  }
  return word;
}

std::string EndpointCell(std::uint32_t address, std::uint16_t port) {
  return port == 0 ? AddressText(address) : fmt::format("{}:{}", AddressText(address), port);
}

std::vector<std::string> CellsOf(const CDrvErrorItemV4& event) {
  return {RecordTime(event.m_FirstTime),
          RecordTime(event.m_LastTime),
          std::to_string(event.m_Count),
          std::to_string(event.m_PacketSize),
          VerdictWord(event.m_Flags),
          DirectionWord(event.m_Flags),
          ProtocolCell(event),
          EndpointCell(event.m_SrcIp, event.m_SrcPort),
          EndpointCell(event.m_DstIp, event.m_DstPort),
          std::to_string(event.m_ErrorCode)};
}

}  // namespace

std::string AddressText(std::uint32_t address) {
  const in_addr network_order{htonl(address)};
  std::array<char, INET_ADDRSTRLEN> text{};
  inet_ntop(AF_INET, &network_order, text.data(), text.size());
  return text.data();
}

void PrintTable(const Rows& rows, std::FILE* out) {
  TextTable table(RowColumns());
  for (const PacketDbClientItem& row : rows) {
    table.Add(CellsOf(row.m_Item));
  }
  table.Print(out);
}

}  // namespace packetdb::host
