#include "tests/host/sources/show.h"

#include <cstdio>
#include <string_view>

namespace packetdb::host::test {
namespace {

std::string Endpoint(std::uint32_t ip, std::uint16_t port) {
  std::string text;
  for (int shift = 24; shift >= 0; shift -= 8) {
    text += std::to_string((ip >> shift) & 0xff) + (shift > 0 ? "." : ":");
  }
  return text + std::to_string(port);
}

std::string Hex(std::uint32_t value) {
  char text[16];
  std::snprintf(text, sizeof text, "0x%x", value);
  return text;
}

// Fields that our sources leave alone, or that have one value in all their events.
std::string Unusual(const packetdb::CDrvErrorItemV4& item) {
  std::string text;
  const auto field = [&text](const char* name, std::uint32_t value, std::uint32_t usual) {
    if (value != usual) text += std::string(" ") + name + " " + std::to_string(value);
  };
  field("word10", item.m_Word10, 0);
  field("src_id", item.m_SrcId, 0);
  field("dst_id", item.m_DstId, 0);
  field("dword1f", item.m_Dword1F, 0);
  field("dword23", item.m_Dword23, 0);
  field("count", item.m_Count, 1);
  field("byte2b", item.m_Byte2B, 0);
  field("count_copy", item.m_CountCopy, 0);
  field("last", item.m_LastTime, item.m_FirstTime);
  field("dword38", item.m_Dword38, 0);
  field("m_size", item.m_Size, 0);
  return text;
}

void AppendCount(std::string& list, std::string_view name, std::uint64_t count) {
  if (count == 0) return;
  list += (list.empty() ? "" : ", ") + std::string(name) + " x" + std::to_string(count);
}

}  // namespace

std::string Show(const Event& event) {
  const packetdb::CDrvErrorItemV4& item = event.item;
  return event.interface + " " + Endpoint(item.m_SrcIp, item.m_SrcPort) + " > " +
         Endpoint(item.m_DstIp, item.m_DstPort) + " proto " + std::to_string(item.m_Protocol) +
         " flags " + Hex(item.m_Flags) + " code " + std::to_string(item.m_ErrorCode) + " size " +
         std::to_string(item.m_PacketSize) + " at " + std::to_string(item.m_FirstTime) +
         Unusual(item);
}

std::string Show(const CaptureCounters& counters) {
  std::string skipped;
  for (std::size_t i = 0; i < kSkipReasons; ++i) {
    const auto reason = static_cast<SkipReason>(i);
    AppendCount(skipped, Text(reason), counters.skipped(reason));
  }
  std::string remarks;
  for (std::size_t i = 0; i < kRemarks; ++i) {
    const auto remark = static_cast<Remark>(i);
    AppendCount(remarks, Text(remark), counters.noted(remark));
  }
  return skipped + (remarks.empty() ? "" : "[" + remarks + "]");
}

}  // namespace packetdb::host::test
