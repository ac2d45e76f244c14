#include "host/sources/log_records.h"

#include <algorithm>
#include <linux/netfilter/nfnetlink.h>
#include <linux/netfilter/nfnetlink_log.h>
#include <linux/netlink.h>
#include <system_error>
#include <utility>

#include "host/sources/event_builder.h"
#include "host/sources/nflog.h"

namespace packetdb::host {
namespace {

constexpr std::uint16_t kLogRecord = NFNL_SUBSYS_ULOG << 8 | NFULNL_MSG_PACKET;

static_assert(kNflogHeader == sizeof(nfgenmsg));

std::size_t Padded(std::size_t length) {
  return (length + NLMSG_ALIGNTO - 1) / NLMSG_ALIGNTO * NLMSG_ALIGNTO;
}

}  // namespace

LogRecords::LogRecords(std::uint16_t group, LiveInterfaceNames names)
    : group_(group), names_(std::move(names)) {
  event_.log_group = group;
}

void LogRecords::Take(ByteView datagram, const BatchTime& now, EventSink& sink) {
  while (datagram.size() >= sizeof(nlmsghdr)) {
    const auto header = Native<nlmsghdr>(datagram, 0);
    if (header.nlmsg_len < sizeof header || header.nlmsg_len > datagram.size()) break;
    const ByteView message = datagram.first(header.nlmsg_len);
    // Away before it is looked at, which may throw: padding of the last one may be missing.
    datagram = datagram.subspan(std::min(Padded(message.size()), datagram.size()));
    TakeMessage(header.nlmsg_type, message.subspan(sizeof header), now, sink);
  }
  malformed_ += datagram.empty() ? 0 : 1;
}

void LogRecords::TakeMessage(std::uint16_t type, ByteView body, const BatchTime& now,
                             EventSink& sink) {
  switch (type) {
    case kLogRecord:
      TakeRecord(body, now, sink);
      break;
    case NLMSG_NOOP:
    case NLMSG_DONE:  // ends what the kernel sends at a time; the datagram's length does that too
      break;
    case NLMSG_ERROR:
      TakeError(body);
      break;
    default:
      ++malformed_;
      break;
  }
}

// An acknowledgement is an error of 0.
void LogRecords::TakeError(ByteView body) {
  constexpr int kLastErrno = 4095;
  const int error = body.size() < sizeof error ? 1 : Native<int>(body, 0);
  if (error > 0 || error < -kLastErrno) {
    ++malformed_;
  } else if (error != 0) {
    throw std::system_error(-error, std::generic_category(),
                            "log group " + std::to_string(group_) + ": refused by the kernel");
  }
}

void LogRecords::TakeRecord(ByteView body, const BatchTime& now, EventSink& sink) {
  if (body.size() < kNflogHeader || Big16(body, kNflogGroupAt) != group_) {
    ++malformed_;
    return;
  }
  packets_.CountPacket();
  if (body[kNflogVersionAt] != NFNETLINK_V0) {
    packets_.Skip(SkipReason::kNflogDamaged);
    return;
  }
  const ByteView attributes = body.subspan(kNflogHeader);
  const NflogRecord record = ReadNflogRecord({attributes, attributes.size()});
  // Whatever the packet is, it has been received.
  if (record.sequence) lost_ += sequence_.Follow(*record.sequence);
  TakePacket(body[kNflogFamilyAt], record, now, sink);
}

void LogRecords::TakePacket(std::uint8_t family, const NflogRecord& record, const BatchTime& now,
                            EventSink& sink) {
  const std::optional<LinkPacket> packet = ParseNflogRecord(family, record, packets_);
  if (!packet) return;
  const PacketTime time = record.stamp.value_or(now.wall);
  if (!FillEvent(*packet, time, packets_, event_.event)) return;
  event_.event.interface = names_.Name(packet->interface_index, now.steady);
  event_.prefix = packet->prefix;
  event_.mark = record.mark;
  event_.uid = record.uid;
  sink.Take(event_);
}

}  // namespace packetdb::host
