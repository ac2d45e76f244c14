// Datagrams of a log group to events.
#include <cstring>
#include <system_error>

#include "fuzz/datagrams.h"
#include "fuzz/promise.h"
#include "fuzz/target.h"
#include "host/sources/event_builder.h"
#include "host/sources/log_records.h"

namespace packetdb::fuzz {
namespace {

constexpr std::uint16_t kGroup = 5;
constexpr host::BatchTime kNow = {{1'700'000'000, 0}, {}};

// Two interfaces are known, one of them by a name of full length, which has no NUL.
std::string NameOf(std::uint32_t index) {
  if (index == 1) return "lo";
  return index == 2 ? "sixteen-letters!" : "";
}

class Checker final : public host::EventSink {
 public:
  void Take(const host::LiveEvent& event) override {
    ++events_;
    const std::size_t name = event.event.interface.size();
    Require(name > 0 && name <= host::kMaxInterfaceName, "an event names its interface");
    Require(event.prefix.find('\0') == std::string_view::npos, "a prefix ends at its NUL");
    Require(event.log_group == kGroup, "an event is of its group");
    CheckItem(event.event.item);
  }
  std::uint64_t events() const { return events_; }

 private:
  static void CheckItem(const CDrvErrorItemV4& item) {
    constexpr std::uint32_t kFlags = host::kFlagIn | host::kFlagOut | host::kFlagLaterFragment;
    Require(item.m_ErrorCode == 0 && (item.m_Flags & ~kFlags) == 0,
            "an event has no code and no verdict");
    Require(item.m_Count == 1 && item.m_PacketSize >= 20, "an event is one IPv4 packet");
    Require(item.m_FirstTime == item.m_LastTime, "a packet has one time");
    Require(item.m_FirstTime <= host::kLatestTime - TIME_1980_OFFSET, "a time can be asked for");
  }

  std::uint64_t events_ = 0;
};

void CheckCounts(const host::LogRecords& records, std::uint64_t events, std::uint64_t messages) {
  const host::CaptureCounters& packets = records.packets();
  Require(packets.events() == events, "each event is counted");
  Require(packets.packets() == events + packets.skipped(), "a packet is an event or has a reason");
  Require(packets.packets() + records.malformed() <= messages, "a message is counted once");
  Require(records.lost() <= (packets.packets() << 31U), "a step back is no loss");
}

}  // namespace

void TryInput(const std::uint8_t* data, std::size_t size) {
  host::LogRecords records(kGroup, host::LiveInterfaceNames(NameOf, "nflog"));
  Checker checker;
  std::uint64_t messages = 0;
  for (const Bytes& datagram : SplitDatagrams({data, size})) {
    messages += datagram.size() / 16 + 1;  // at most: a message has a header, and one may be cut
    try {
      records.Take(datagram, kNow, checker);
    } catch (const std::system_error&) {  // a refusal of the kernel's
    }
    CheckCounts(records, checker.events(), messages);
  }
}

}  // namespace packetdb::fuzz
