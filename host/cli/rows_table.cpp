#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <fmt/format.h>
#include <netinet/in.h>

#include "host/cli/rows.h"
#include "host/cli/times.h"
#include "host/cli/words.h"
#include "host/sources/event.h"

namespace packetdb::host {

namespace {

constexpr std::size_t kColumns = 10;
using Cells = std::array<std::string, kColumns>;

struct Heading {
  const char* text;
  bool number;  // aligned to the right
};

constexpr std::array<Heading, kColumns> kHeadings = {{
    {"FIRST SEEN", false},
    {"LAST SEEN", false},
    {"COUNT", true},
    {"BYTES", true},
    {"VERDICT", false},
    {"DIR", false},
    {"PROTO", false},
    {"SOURCE", false},
    {"DESTINATION", false},
    {"EVENT", true},
}};

std::string JournalTime(std::uint32_t seconds) {
  return LocalTime(std::int64_t{seconds} + TIME_1980_OFFSET);
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

Cells CellsOf(const CDrvErrorItemV4& event) {
  return {JournalTime(event.m_FirstTime),
          JournalTime(event.m_LastTime),
          std::to_string(event.m_Count),
          std::to_string(event.m_PacketSize),
          VerdictWord(event.m_Flags),
          DirectionWord(event.m_Flags),
          ProtocolCell(event),
          EndpointCell(event.m_SrcIp, event.m_SrcPort),
          EndpointCell(event.m_DstIp, event.m_DstPort),
          std::to_string(event.m_ErrorCode)};
}

void PrintLine(const Cells& cells, const std::array<std::size_t, kColumns>& widths,
               std::FILE* out) {
  std::string line;
  for (std::size_t column = 0; column < kColumns; ++column) {
    const char* format = kHeadings[column].number ? "{:>{}}" : "{:<{}}";
    line += fmt::format(fmt::runtime(format), cells[column], widths[column]);
    line += column + 1 < kColumns ? "  " : "\n";
  }
  std::fputs(line.c_str(), out);
}

}  // namespace

std::string AddressText(std::uint32_t address) {
  const in_addr network_order{htonl(address)};
  std::array<char, INET_ADDRSTRLEN> text{};
  inet_ntop(AF_INET, &network_order, text.data(), text.size());
  return text.data();
}

void PrintTable(const Rows& rows, std::FILE* out) {
  std::vector<Cells> lines(1);
  for (std::size_t column = 0; column < kColumns; ++column) {
    lines.front()[column] = kHeadings[column].text;
  }
  for (const PacketDbClientItem& row : rows) {
    lines.push_back(CellsOf(row.m_Item));
  }
  std::array<std::size_t, kColumns> widths{};
  for (const Cells& cells : lines) {
    for (std::size_t column = 0; column < kColumns; ++column) {
      widths[column] = std::max(widths[column], cells[column].size());
    }
  }
  for (const Cells& cells : lines) {
    PrintLine(cells, widths, out);
  }
}

}  // namespace packetdb::host
