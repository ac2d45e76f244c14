// The attributes of a netfilter log record: length and type in host byte order, 16 bits each, the
// length counting these four bytes, then the value, padded to a multiple of four.
#pragma once

#include <cstdint>
#include <optional>

#include "host/sources/bytes.h"

namespace packetdb::host {

// The types that we read; all others are passed over.
enum NflogType : std::uint16_t {
  kNflogPacketHeader = 1,
  kNflogMark = 2,
  kNflogTimestamp = 3,
  kNflogIndexIn = 4,
  kNflogIndexOut = 5,
  kNflogPayload = 9,
  kNflogPrefix = 10,
  kNflogUid = 11,
  kNflogSequence = 12,
};

struct NflogAttribute {
  std::uint16_t type = 0;  // without the two bits that netlink keeps for itself
  Frame value;             // fewer bytes than its wire length: cut by the capture
};

// Walks attributes, never beyond the frame. A record that the capture cut ends where the bytes end;
// its last attribute may come out cut. One that was not cut and still does not add up is damaged.
class NflogAttributes {
 public:
  explicit NflogAttributes(const Frame& attributes) : rest_(attributes) {}

  // Empty at the end, and from a damaged attribute on.
  std::optional<NflogAttribute> Next();

  bool damaged() const { return damaged_; }

 private:
  std::optional<NflogAttribute> Stop(bool damaged);

  Frame rest_;
  bool damaged_ = false;
};

}  // namespace packetdb::host
