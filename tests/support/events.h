// Events, records and queries in a few words.
#pragma once

#include <cstdint>
#include <iterator>
#include <string>
#include <vector>

#include "packetdb/query.h"
#include "packetdb/storage.h"

namespace packetdb::test {

// A copy of a field, for fields that are not aligned and so cannot be referred to.
template <class T>
T Value(T field) {
  return field;
}

// An event built field by field; fields not named are 0.
struct Event : CDrvErrorItemV4 {
  Event() : CDrvErrorItemV4{} {}
  Event& First(std::uint32_t second) { return m_FirstTime = second, *this; }
  Event& Last(std::uint32_t second) { return m_LastTime = second, *this; }
  Event& Count(std::uint32_t count) { return m_Count = count, *this; }
  Event& Size(std::uint32_t bytes) { return m_PacketSize = bytes, *this; }
  Event& Code(std::uint32_t code) { return m_ErrorCode = code, *this; }
  Event& Flags(std::uint32_t flags) { return m_Flags = flags, *this; }
  Event& Protocol(std::uint8_t protocol) { return m_Protocol = protocol, *this; }
  Event& Src(std::uint32_t ip, std::uint16_t port = 0, std::uint32_t id = 0) {
    return m_SrcIp = ip, m_SrcPort = port, m_SrcId = id, *this;
  }
  Event& Dst(std::uint32_t ip, std::uint16_t port = 0, std::uint32_t id = 0) {
    return m_DstIp = ip, m_DstPort = port, m_DstId = id, *this;
  }
};

// One packet, seen at `second` (since 1980).
Event EventAt(std::uint32_t second);
// An event every field of which is another nonzero number.
Event DistinctEvent();

PacketDbItem Record(const CDrvErrorItemV4& event, std::uint64_t adapter_name_hash = 0);

// "hash=7 src=1:0/0 dst=..." with every field, for comparing records as text.
std::string Text(const PacketDbItem& item);
std::string Text(const CDrvErrorItemV4& event);
// "first-last xcount": the part of a record that merging changes; with its size: "5-9 x2 30B".
std::string Times(const CDrvErrorItemV4& event);

template <class Records>
std::vector<std::string> AllTimes(const Records& records) {
  std::vector<std::string> texts;
  texts.reserve(records.size());
  for (const auto& record : records) texts.push_back(Times(record.m_Item));
  return texts;
}

// A query that every record satisfies, for the interface.
Query QueryFor(const std::string& interface = "eth0");
// The same, for records that meet the seconds [start, end] since 1980.
Query QueryBetween(std::int64_t start, std::int64_t end, const std::string& interface = "eth0");
void SetInterface(Query& query, const std::string& interface);

// Whether two objects hold the same bytes.
template <class T>
std::string ObjectBytes(const T& object) {
  return {reinterpret_cast<const char*>(&object), sizeof object};
}

}  // namespace packetdb::test
