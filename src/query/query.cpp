#include "packetdb/query.h"

namespace packetdb {

const unsigned char version = 1;

Query::Query() : Query(version) {}

Query::Query(unsigned char protocolVersion)
    : m_Interface{},
      m_Version(protocolVersion),
      m_TimeStart(0),
      m_TimeEnd(0),
      m_RecCount(0),
      m_FlagsWanted(0),
      m_FlagsNotWanted(0),
      m_Direction(0),
      m_IdSrc(0),
      m_IdDst(0),
      m_IpSrcFrom(0),
      m_IpSrcTo(0),
      m_IpDstFrom(0),
      m_IpDstTo(0),
      m_PortSrcFrom(0),
      m_PortSrcTo(0),
      m_PortDstFrom(0),
      m_PortDstTo(0),
      m_AdapterNameHash(0) {}

PacketDbClientItem::PacketDbClientItem() : m_AdapterNameHash(0), m_Item{} {}

PacketDbClientItem::PacketDbClientItem(const PacketDbItem& item)
    : m_AdapterNameHash(item.m_AdapterNameHash), m_Item(item.m_Item) {}

}  // namespace packetdb
