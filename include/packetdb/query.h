// What a query asks for, which records satisfy it, and how it travels on the bus.
//
// A query is a plain value. Matching reads it and the record only.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "packetdb/storage.h"

class CAbstractPacketOptions;

namespace packetdb {

// The protocol version that a client announces; a server refuses clients that announce 0 or none.
PACKETDB_EXPORT extern const unsigned char version;  // 1

inline constexpr int UDB_GET_DBQUERY = 100;    // the bus command of a journal query
inline constexpr int UDB_QUERY_FAILED = -101;  // client side: the exchange itself failed

// The hash by which a record names its interface: the 64-bit combining step of Boost's hash, over
// the name's bytes taken as 0 to 255. The host passes it with every event; an empty name gives 0.
PACKETDB_EXPORT std::size_t adapter_name_hash(std::string_view name);

// Fills `out` with the elements of array column `id`; stray bytes behind the last whole element are
// ignored. Leaves `out` as it is when the message carries none. For unsigned char and int.
template <class T>
void get_array(const CAbstractPacketOptions* message, unsigned int id, std::vector<T>& out);
extern template PACKETDB_EXPORT void get_array(const CAbstractPacketOptions*, unsigned int,
                                               std::vector<unsigned char>&);
extern template PACKETDB_EXPORT void get_array(const CAbstractPacketOptions*, unsigned int,
                                               std::vector<int>&);

// The criterion for one side of a packet. Host byte order; ranges include both ends.
struct PACKETDB_EXPORT endpoint {
  std::uint32_t id;         // network node; 0 any
  std::uint32_t ip_from;    // with ip_to 0: the address, 0 any
  std::uint32_t ip_to;      // 0: no range
  std::uint16_t port_from;  // with port_to 0: the port, 0 any
  std::uint16_t port_to;    // 0: no range

  bool match(unsigned int nodeId, unsigned int ip, unsigned short port) const;
  bool match_src(const CDrvErrHash& event) const;
  bool match_dst(const CDrvErrHash& event) const;
};

// Wanted IP protocols. Empty or 0: all; 255: all but ICMP (1), TCP (6) and UDP (17).
class PACKETDB_EXPORT Protocols : public std::vector<unsigned char> {
 public:
  bool match(unsigned char protocol) const;
};

// Wanted event codes. Empty, or -1 in front: all; a negative number: a group of codes; 0 ends the
// list.
class PACKETDB_EXPORT Errcodes : public std::vector<int> {
 public:
  bool match(unsigned int code) const;
};

// One row of an answer as the client sees it: the fields of PacketDbItem, of which the bus carries
// some and the others are 0.
struct PACKETDB_EXPORT PacketDbClientItem {
  PacketDbClientItem();  // all zero
  explicit PacketDbClientItem(const PacketDbItem& item);

  std::uint64_t m_AdapterNameHash;
  CDrvErrorItemV4 m_Item;
};

class PACKETDB_EXPORT Query {
 public:
  Query();  // protocol version 1, everything else 0 or empty
  explicit Query(unsigned char protocolVersion);

  // Whether the record satisfies every criterion.
  bool match(const PacketDbItem& item) const;

  // Server side: decodes a received message into this query, which should be fresh. Never fails:
  // what the message does not carry reads as 0.
  void read(const CAbstractPacketOptions* message);

  // Client side: writes the query into `message`, sends it and waits for the status. Returns 0, -3
  // (nothing matched, or the server failed), UDB_QUERY_FAILED when the message cannot be written,
  // or the bus status. Throws std::bad_alloc, before anything is sent.
  int write(CAbstractPacketOptions* message);

  // write(), then appends the answer's rows to `rows`. Returns what write() returned when that is
  // not 0, 0 after the end marker, UDB_QUERY_FAILED when reading fails; rows read before a failure
  // stay.
  int process(CAbstractPacketOptions* message, std::vector<PacketDbClientItem>* rows);

  char m_Interface[32];         // journal or interface, NUL-padded
  Protocols m_Protocols;        // wanted protocols
  Errcodes m_Errcodes;          // wanted event codes
  std::uint8_t m_Version;       // protocol version
  std::int64_t m_TimeStart;     // Unix seconds; compared unsigned, so a negative one acts as huge
  std::int64_t m_TimeEnd;       // Unix seconds, inclusive; the bus carries 32 bits of either
  std::uint32_t m_RecCount;     // newest records wanted; 0 all
  std::uint32_t m_FlagsWanted;  // bits that must all be set
  std::uint32_t m_FlagsNotWanted;  // bits none of which may be set
  std::uint8_t m_Direction;        // 1: source and destination may also match the other way round
  std::uint32_t m_IdSrc;           // network nodes; 0 any
  std::uint32_t m_IdDst;
  std::uint32_t m_IpSrcFrom;  // addresses as in `endpoint`
  std::uint32_t m_IpSrcTo;
  std::uint32_t m_IpDstFrom;
  std::uint32_t m_IpDstTo;
  std::uint16_t m_PortSrcFrom;  // ports as in `endpoint`
  std::uint16_t m_PortSrcTo;
  std::uint16_t m_PortDstFrom;
  std::uint16_t m_PortDstTo;
  std::uint64_t m_AdapterNameHash;  // adapter_name_hash of the interface; 0 any
};

}  // namespace packetdb
