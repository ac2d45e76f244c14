#include <netinet/in.h>

#include "host/cli/json_text.h"
#include "host/cli/rows.h"
#include "host/cli/words.h"
#include "host/sources/event.h"

namespace packetdb::host {

namespace {

OrderedJson ObjectOf(const CDrvErrorItemV4& event) {
  OrderedJson object;
  AddJournalTime(object, "first_seen", event.m_FirstTime);
  AddJournalTime(object, "last_seen", event.m_LastTime);
  object["count"] = std::uint32_t{event.m_Count};
  object["bytes"] = std::uint32_t{event.m_PacketSize};
  object["protocol"] = ProtocolWord(event.m_Protocol);
  object["protocol_number"] = event.m_Protocol;
  object["src"] = AddressText(event.m_SrcIp);
  object["src_port"] = std::uint16_t{event.m_SrcPort};
  object["src_node"] = std::uint32_t{event.m_SrcId};
  object["dst"] = AddressText(event.m_DstIp);
  object["dst_port"] = std::uint16_t{event.m_DstPort};
  object["dst_node"] = std::uint32_t{event.m_DstId};
  // A fragment that does not start its packet carries neither: 0 would read as an echo reply.
  if (event.m_Protocol == IPPROTO_ICMP && (event.m_Flags & kFlagLaterFragment) == 0) {
    object["icmp_type"] = event.m_Word10 >> 8;
    object["icmp_code"] = event.m_Word10 & 0xFF;
  }
  object["event"] = std::uint32_t{event.m_ErrorCode};
  object["flags"] = FlagWords(event.m_Flags);
  object["flags_value"] = std::uint32_t{event.m_Flags};
  return object;
}

}  // namespace

void PrintJson(const Rows& rows, std::FILE* out) {
  for (const PacketDbClientItem& row : rows) {
    const std::string line = JsonLine(ObjectOf(row.m_Item));
    std::fputs(line.c_str(), out);
  }
}

}  // namespace packetdb::host
