#include "packetdb/query.h"
#include "src/log.h"

namespace packetdb {

namespace {

constexpr char kLogSource[] = "src/query";

bool MatchId(const endpoint& wanted, std::uint32_t id) {
  if (wanted.id == 0 || wanted.id == id) {
    return true;
  }
  PACKETDB_LOG(log::kTrace) << "ID " << log::Hex(id) << " not equal to " << log::Hex(wanted.id);
  return false;
}

bool MatchIp(const endpoint& wanted, std::uint32_t ip) {
  if (wanted.ip_to != 0) {
    if (wanted.ip_from <= ip && ip <= wanted.ip_to) {
      return true;
    }
    PACKETDB_LOG(log::kTrace) << "IP " << log::Hex(ip) << " not in range "
                              << log::Hex(wanted.ip_from) << ".." << log::Hex(wanted.ip_to);
    return false;
  }
  if (wanted.ip_from == 0 || wanted.ip_from == ip) {
    return true;
  }
  PACKETDB_LOG(log::kTrace) << "IP " << log::Hex(ip) << " not equal to "
                            << log::Hex(wanted.ip_from);
  return false;
}

bool MatchPort(const endpoint& wanted, std::uint16_t port) {
  if (wanted.port_to != 0) {
    if (wanted.port_from <= port && port <= wanted.port_to) {
      return true;
    }
    PACKETDB_LOG(log::kTrace) << "port " << port << " not in range " << wanted.port_from << ".."
                              << wanted.port_to;
    return false;
  }
  if (wanted.port_from == 0 || wanted.port_from == port) {
    return true;
  }
  PACKETDB_LOG(log::kTrace) << "port " << port << " not equal to " << wanted.port_from;
  return false;
}

}  // namespace

bool endpoint::match(unsigned int nodeId, unsigned int ip, unsigned short port) const {
  return MatchId(*this, nodeId) && MatchIp(*this, ip) && MatchPort(*this, port);
}

bool endpoint::match_src(const CDrvErrHash& event) const {
  return match(event.m_SrcId, event.m_SrcIp, event.m_SrcPort);
}

bool endpoint::match_dst(const CDrvErrHash& event) const {
  return match(event.m_DstId, event.m_DstIp, event.m_DstPort);
}

}  // namespace packetdb
