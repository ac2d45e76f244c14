#include "host/sources/live_capture.h"

#include <algorithm>
#include <cerrno>
#include <linux/if_packet.h>
#include <net/if.h>
#include <pcap/pcap.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <system_error>
#include <utility>

#include "host/sources/event_builder.h"

namespace packetdb::host {
namespace {

// Packets of one call.
constexpr int kPacketsAtOnce = 4096;

// What is no interface, say all of them together, is never down.
bool IsDown(int socket, const std::string& interface) {
  ifreq request = {};
  interface.copy(request.ifr_name, sizeof request.ifr_name - 1);
  if (ioctl(socket, SIOCGIFFLAGS, &request) != 0) return false;
  return (request.ifr_flags & IFF_UP) == 0;
}

// The kernel's own count, which begins anew each time.
std::uint32_t TakeDropped(int socket) {
  tpacket_stats_v3 counts = {};
  socklen_t size = sizeof counts;
  const int result = getsockopt(socket, SOL_PACKET, PACKET_STATISTICS, &counts, &size);
  return result == 0 ? counts.tp_drops : 0;
}

}  // namespace

std::unique_ptr<LiveCapture> LiveCapture::Open(const LiveCaptureOptions& options) {
  return std::unique_ptr<LiveCapture>(new LiveCapture(options, OpenPcap(options)));
}

LiveCapture::LiveCapture(const LiveCaptureOptions& options, PcapHandle handle)
    : name_("capture:" + options.interface),
      interface_(options.interface),
      handle_(std::move(handle)),
      parser_(FindLinkParser(pcap_datalink(handle_.get()))),
      names_([socket = fd()](std::uint32_t index) { return AskInterfaceName(socket, index); },
             options.interface),
      drops_(options.interface) {
  counters_.buffer_bytes = options.buffer_bytes;
}

int LiveCapture::fd() const { return pcap_fileno(handle_.get()); }

bool LiveCapture::Receive(EventSink& sink) {
  const BatchTime now = ReadBatchTime();
  int taken = 0;
  while (taken < kPacketsAtOnce && ReceiveOne(now, sink)) ++taken;
  counters_.batches += taken > 0 ? 1 : 0;
  CountLosses(now);
  return taken > 0;
}

// False when nothing waits.
bool LiveCapture::ReceiveOne(const BatchTime& now, EventSink& sink) {
  pcap_pkthdr* header = nullptr;
  const u_char* bytes = nullptr;
  const int result = pcap_next_ex(handle_.get(), &header, &bytes);
  if (result < 0) Fail(pcap_geterr(handle_.get()));
  if (result == 0) {
    // libpcap would wait for it to come up again, and nobody would know why nothing is captured.
    if (IsDown(fd(), interface_)) Fail("the interface went down");
    return false;
  }
  const std::size_t wire_length = std::max(header->caplen, header->len);
  const PacketTime time = {header->ts.tv_sec, static_cast<std::uint32_t>(header->ts.tv_usec)};
  Take({ByteView(bytes, header->caplen), wire_length}, time, now, sink);
  return true;
}

void LiveCapture::Take(const Frame& frame, const PacketTime& time, const BatchTime& now,
                       EventSink& sink) {
  packets_.CountPacket();
  const std::optional<LinkPacket> packet = parser_(frame, packets_);
  if (!packet || !FillEvent(*packet, time, packets_, event_.event)) return;
  event_.event.interface = names_.Name(packet->interface_index, now.steady);
  sink.Take(event_);
}

void LiveCapture::Fail(const std::string& reason) const {
  throw std::system_error(ENETDOWN, std::generic_category(), name_ + ": " + reason);
}

void LiveCapture::CountLosses(const BatchTime& now) {
  const std::uint32_t dropped = TakeDropped(fd());
  counters_.lost_overrun += dropped;
  counters_.overruns += dropped > 0 ? 1 : 0;
  if (now.steady - drops_read_ < std::chrono::seconds(1)) return;
  drops_read_ = now.steady;
  counters_.lost_before_read = drops_.Count();
}

}  // namespace packetdb::host
