// The server's side: decoding a query message.
#include <cstring>
#include <typeinfo>

#include "packetdb/query.h"
#include "platform/bus.h"
#include "src/log.h"
#include "src/query/interface_name.h"
#include "src/query/wire.h"

namespace packetdb {

namespace {

constexpr char kLogSource[] = "src/query";

void ReadInterface(Query& query, const CAbstractPacketOptions& message) {
  unsigned int size = 0;
  const void* name = message.GetRaw(kOptionInterface, &size);
  if (name == nullptr || size != sizeof query.m_Interface) {
    query.m_AdapterNameHash = 0;
    PACKETDB_LOG(log::kNotice) << "no interface name";
    return;
  }
  std::memcpy(query.m_Interface, name, sizeof query.m_Interface);
  query.m_AdapterNameHash = adapter_name_hash(InterfaceName(query));
  PACKETDB_LOG(log::kNotice) << "Packet db for " << InterfaceName(query) << "("
                             << query.m_AdapterNameHash << ") is queried";
}

void ReadCriteria(Query& query, const CAbstractPacketOptions& message) {
  const auto integer = [&](Option id) { return message.GetInt(id, nullptr); };
  const auto bits = [&](Option id) { return static_cast<std::uint32_t>(integer(id)); };
  const auto port = [&](Option id) { return message.GetShort(id, nullptr); };

  query.m_Version = message.GetByte(kOptionVersion, nullptr);
  // Times are sent in 64 bits but deliberately read as 32, and widened with their sign.
  query.m_TimeStart = integer(kOptionTimeStart);
  query.m_TimeEnd = integer(kOptionTimeEnd);
  query.m_RecCount = bits(kOptionRecCount);
  query.m_FlagsWanted = bits(kOptionFlagsWanted);
  query.m_FlagsNotWanted = bits(kOptionFlagsNotWanted);
  query.m_Direction = message.GetByte(kOptionDirection, nullptr);
  query.m_IdSrc = bits(kOptionIdSrc);
  query.m_IdDst = bits(kOptionIdDst);
  query.m_IpSrcFrom = bits(kOptionIpSrcFrom);
  query.m_IpSrcTo = bits(kOptionIpSrcTo);
  query.m_IpDstFrom = bits(kOptionIpDstFrom);
  query.m_IpDstTo = bits(kOptionIpDstTo);
  query.m_PortSrcFrom = port(kOptionPortSrcFrom);
  query.m_PortSrcTo = port(kOptionPortSrcTo);
  query.m_PortDstFrom = port(kOptionPortDstFrom);
  query.m_PortDstTo = port(kOptionPortDstTo);
  get_array(&message, kOptionProtocols, query.m_Protocols);
  get_array(&message, kOptionErrcodes, query.m_Errcodes);
}

// Event codes travel in the client's byte order. Every code that a client sends lies between -15
// and 1999, so one that does not comes from a client of the other order.
void RepairByteOrder(Errcodes& errcodes) {
  constexpr std::uint32_t kLowest = 15;
  constexpr std::uint32_t kSpan = 2014;
  for (int& code : errcodes) {
    const auto bits = static_cast<std::uint32_t>(code);
    if (bits + kLowest <= kSpan) {
      continue;
    }
    const int repaired = static_cast<int>(__builtin_bswap32(bits));
    PACKETDB_LOG(log::kTrace) << "Invert Endian of ErrorCode (" << code << " -> " << repaired
                              << ") ";
    code = repaired;
  }
}

// A bit that is asked for both ways constrains nothing.
void DropContradictoryFlags(Query& query) {
  const std::uint32_t differing = query.m_FlagsWanted ^ query.m_FlagsNotWanted;
  query.m_FlagsWanted &= differing;
  query.m_FlagsNotWanted &= differing;
}

void LogAsReceived(const Query& query) {
  PACKETDB_LOG(log::kQuery) << "Interface: " << InterfaceName(query);
  PACKETDB_LOG(log::kQuery) << "Query version: " << query.m_Version;
  PACKETDB_LOG(log::kQuery) << "Time Start: " << query.m_TimeStart << " End: " << query.m_TimeEnd;
  PACKETDB_LOG(log::kQuery) << "RecCount: " << query.m_RecCount
                            << " Direction: " << std::uint32_t{query.m_Direction};
  PACKETDB_LOG(log::kQuery) << "Original: Flags Wanted: " << log::Hex(query.m_FlagsWanted)
                            << " NotWanted: " << log::Hex(query.m_FlagsNotWanted);
}

void LogAsServed(const Query& query) {
  PACKETDB_LOG(log::kQuery) << "Flags Wanted: " << log::Hex(query.m_FlagsWanted)
                            << " NotWanted: " << log::Hex(query.m_FlagsNotWanted);
  PACKETDB_LOG(log::kQuery) << "ID Source: " << log::Hex(query.m_IdSrc)
                            << " Destin: " << log::Hex(query.m_IdDst);
  PACKETDB_LOG(log::kQuery) << "IP Source: " << log::Hex(query.m_IpSrcFrom) << " - "
                            << log::Hex(query.m_IpSrcTo)
                            << " Destin: " << log::Hex(query.m_IpDstFrom) << " - "
                            << log::Hex(query.m_IpDstTo);
  PACKETDB_LOG(log::kQuery) << "Port Source: " << query.m_PortSrcFrom << " - " << query.m_PortSrcTo
                            << " Destin: " << query.m_PortDstFrom << " - " << query.m_PortDstTo;
  PACKETDB_LOG(log::kQuery) << "Proto list:";
  for (const unsigned char protocol : query.m_Protocols) {
    PACKETDB_LOG(log::kQuery) << protocol;
  }
  PACKETDB_LOG(log::kQuery) << "Event list:";
  for (const int code : query.m_Errcodes) {
    PACKETDB_LOG(log::kQuery) << code;
  }
}

}  // namespace

template <class T>
void get_array(const CAbstractPacketOptions* message, unsigned int id, std::vector<T>& out) {
  unsigned int size = 0;
  const void* bytes = message->GetRaw(id, &size);
  const auto count = static_cast<std::uint32_t>(size / sizeof(T));
  if (bytes == nullptr || count == 0) {
    return;
  }
  out.resize(count);
  std::memcpy(out.data(), bytes, count * sizeof(T));
  PACKETDB_LOG(log::kQuery) << "received " << count << " elements of type " << typeid(T).name();
}

template void get_array(const CAbstractPacketOptions*, unsigned int, std::vector<unsigned char>&);
template void get_array(const CAbstractPacketOptions*, unsigned int, std::vector<int>&);

void Query::read(const CAbstractPacketOptions* message) {
  ReadInterface(*this, *message);
  ReadCriteria(*this, *message);
  RepairByteOrder(m_Errcodes);
  LogAsReceived(*this);
  DropContradictoryFlags(*this);
  LogAsServed(*this);
}

}  // namespace packetdb
