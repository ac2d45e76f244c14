// One netfilter log record: what its attributes say.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

#include "host/sources/bytes.h"
#include "host/sources/event.h"

namespace packetdb::host {

// In front of the attributes, as struct nfgenmsg of linux/netfilter/nfnetlink.h: where its fields
// are, and its size in bytes.
inline constexpr std::size_t kNflogFamilyAt = 0;
inline constexpr std::size_t kNflogVersionAt = 1;
inline constexpr std::size_t kNflogGroupAt = 2;  // 16 bits, big endian
inline constexpr std::size_t kNflogHeader = 4;

struct NflogRecord {
  std::optional<std::uint16_t> ether_type;
  std::optional<std::uint8_t> hook;
  std::uint32_t index_in = 0;   // of interfaces; 0: none
  std::uint32_t index_out = 0;  //
  std::string_view prefix;      // up to its NUL. Points into the record, as the payload does
  Frame payload;
  std::uint32_t mark = 0;                 // of the packet; 0: none
  std::optional<std::uint32_t> uid;       // of the socket that sent the packet
  std::optional<std::uint32_t> sequence;  // of the record within its group
  std::optional<PacketTime> stamp;        // when the packet was seen
  bool damaged = false;                   // only what stands before the damage has been read
};

// An attribute without which the packet would be misread makes the record damaged when it is too
// short for its type. Mark, user, number and time stamp are then not there, nor is a stamp whose
// microseconds are a second or more.
NflogRecord ReadNflogRecord(const Frame& attributes);

}  // namespace packetdb::host
