#include <netinet/in.h>
#include <nlohmann/json.hpp>

#include "host/cli/rows.h"
#include "host/cli/times.h"
#include "host/cli/words.h"
#include "host/sources/event.h"

namespace packetdb::host {

namespace {

using Json = nlohmann::ordered_json;

void AddTime(Json& object, const char* name, std::uint32_t seconds) {
  const std::int64_t unix_seconds = std::int64_t{seconds} + TIME_1980_OFFSET;
  object[name] = Rfc3339Time(unix_seconds);
  object[std::string(name) + "_unix"] = unix_seconds;
}

Json ObjectOf(const CDrvErrorItemV4& event) {
  Json object;
  AddTime(object, "first_seen", event.m_FirstTime);
  AddTime(object, "last_seen", event.m_LastTime);
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
    const std::string line = ObjectOf(row.m_Item).dump() + "\n";
    std::fputs(line.c_str(), out);
  }
}

}  // namespace packetdb::host
