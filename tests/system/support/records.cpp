#include "tests/system/support/records.h"

#include <array>
#include <fmt/format.h>

#include "host/journals/group_writer.h"

namespace packetdb::host::test {

namespace {

template <class T, std::size_t kSize>
T Pick(const std::array<T, kSize>& pool, std::mt19937& random) {
  return pool[random() % kSize];
}

constexpr std::array<std::uint32_t, 8> kAddresses = {
    0x00000001, 0x0A000001, 0x0A000002, 0x0A0000FF, 0x7FFFFFFF, 0x80000000, 0xC0A80001, 0xFFFFFFFF};
constexpr std::array<std::uint16_t, 8> kPorts = {0, 1, 22, 53, 80, 32767, 32768, 65535};
constexpr std::array<std::uint32_t, 4> kNodes = {0, 1, 7, 0x80000001};
constexpr std::array<std::uint8_t, 9> kProtocols = {0, 1, 2, 6, 17, 22, 47, 132, 255};
constexpr std::array<std::uint32_t, 7> kFlagSets = {0,          0x1,        0x21,      0x00800000,
                                                    0x01000000, 0x01800022, 0x80000012};
constexpr std::array<const char*, 3> kInterfaces = {"eth0", "eth1", "wan"};
constexpr std::uint32_t kHighestCode = 160;  // beyond the last one that is in a group

SeenEvent VariedEvent(std::uint32_t seconds, std::mt19937& random) {
  SeenEvent seen = EventAt(seconds);
  CDrvErrorItemV4& event = seen.event;
  if (random() % 3 == 0) {
    event.m_LastTime += static_cast<std::uint32_t>(random() % (kLongestRecord + 1));
  }
  event.m_SrcIp = Pick(kAddresses, random);
  event.m_DstIp = Pick(kAddresses, random);
  event.m_SrcPort = Pick(kPorts, random);
  event.m_DstPort = Pick(kPorts, random);
  event.m_SrcId = Pick(kNodes, random);
  event.m_DstId = Pick(kNodes, random);
  event.m_Protocol = Pick(kProtocols, random);
  event.m_Flags = Pick(kFlagSets, random);
  event.m_ErrorCode = static_cast<std::uint32_t>(random() % kHighestCode);
  event.m_Word10 = static_cast<std::uint16_t>(random());
  event.m_Count = static_cast<std::uint32_t>(random());
  event.m_PacketSize = static_cast<std::uint32_t>(random());
  seen.interface = Pick(kInterfaces, random);
  return seen;
}

}  // namespace

SeenEvent EventAt(std::uint32_t seconds) {
  SeenEvent seen;
  seen.event.m_FirstTime = static_cast<std::uint32_t>(kEpoch - TIME_1980_OFFSET) + seconds;
  seen.event.m_LastTime = seen.event.m_FirstTime;
  seen.interface = "eth0";
  return seen;
}

std::vector<SeenEvent> VariedEvents(std::size_t count, std::mt19937& random) {
  constexpr std::uint32_t kLongestPause = 5;
  std::vector<SeenEvent> events;
  std::uint32_t seconds = 0;
  for (std::size_t i = 0; i < count; ++i) {
    seconds += static_cast<std::uint32_t>(random() % (kLongestPause + 1));
    events.push_back(VariedEvent(seconds, random));
  }
  return events;
}

void Journal(const std::string& directory, const std::string& group,
             const std::vector<SeenEvent>& events) {
  GroupOptions options;
  options.directory = directory;
  options.group = group;
  options.capacity = static_cast<int>(events.size()) + 1;
  GroupWriter writer(options);
  for (const SeenEvent& seen : events) {
    writer.Add(seen.event, seen.interface);
  }
}

std::string Served(const CDrvErrorItemV4& event) {
  return fmt::format("{}x{} {}..{} {:x}.{}@{} > {:x}.{}@{} protocol {} flags {:x} code {} word {}",
                     std::uint32_t{event.m_Count}, std::uint32_t{event.m_PacketSize},
                     std::uint32_t{event.m_FirstTime}, std::uint32_t{event.m_LastTime},
                     std::uint32_t{event.m_SrcIp}, std::uint16_t{event.m_SrcPort},
                     std::uint32_t{event.m_SrcId}, std::uint32_t{event.m_DstIp},
                     std::uint16_t{event.m_DstPort}, std::uint32_t{event.m_DstId},
                     int{event.m_Protocol}, std::uint32_t{event.m_Flags},
                     std::uint32_t{event.m_ErrorCode}, std::uint16_t{event.m_Word10});
}

}  // namespace packetdb::host::test
