// What became of the packets that a source read. Every packet is counted once as read, and once
// more either as an event or under the one reason why it gave none:
//
//   packets() == events() + skipped()
//
// Remarks are about packets that did give an event, with something amiss.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace packetdb::host {

// Why a packet gave no event.
enum class SkipReason : std::size_t {
  kIpv6,             // journals hold IPv4 addresses
  kArp,              //
  kNotIp,            // any other protocol above the link layer
  kTruncatedLink,    // the link header or a VLAN tag is cut
  kTooManyTags,      // deeper than kMaxVlanTags
  kTruncatedIpv4,    // fewer than the 20 bytes of the fixed header
  kBadVersion,       // not 4 where IPv4 was announced
  kBadHeaderLength,  // IHL below 5
  kBadTotalLength,   // shorter than the header
  kNflogDamaged,     // unknown version, or an attribute that lies about its length
  kNflogFamily,      // logged by a family that carries no IP packet
  kNflogNoPayload,   // nothing of the packet was copied
  kTooLate,          // beyond kLatestTime
};
inline constexpr std::size_t kSkipReasons = 13;

// What was amiss with a packet that gave an event.
enum class Remark : std::size_t {
  kPortsNotCaptured,  // ports, or ICMP type and code, are not among the bytes at hand: 0
  kMalformedPrefix,   // a log prefix that starts like our own form and does not follow it
  kTimeClamped,       // the packet's time lies before what a journal can hold
};
inline constexpr std::size_t kRemarks = 3;

// One line for people, in lower case, without a full stop.
std::string_view Text(SkipReason reason);
std::string_view Text(Remark remark);

class CaptureCounters {
 public:
  void CountPacket() { ++packets_; }
  void CountEvent() { ++events_; }
  // Counts, and gives the parser that found the reason its empty result.
  std::nullopt_t Skip(SkipReason reason);
  void Note(Remark remark) { ++noted_[static_cast<std::size_t>(remark)]; }

  std::uint64_t packets() const { return packets_; }
  std::uint64_t events() const { return events_; }
  std::uint64_t skipped() const;
  std::uint64_t skipped(SkipReason reason) const;
  std::uint64_t noted(Remark remark) const;

  CaptureCounters& operator+=(const CaptureCounters& other);

 private:
  std::uint64_t packets_ = 0;
  std::uint64_t events_ = 0;
  std::array<std::uint64_t, kSkipReasons> skipped_{};
  std::array<std::uint64_t, kRemarks> noted_{};
};

}  // namespace packetdb::host
