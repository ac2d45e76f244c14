// The client's side: reading the answer's rows.
#include "packetdb/query.h"
#include "platform/bus.h"
#include "src/query/bus_failure.h"
#include "src/query/wire.h"

namespace packetdb {

namespace {

void ReadRow(const CAbstractPacketOptions& message, CDrvErrorItemV4& row) {
  const auto integer = [&](unsigned int column) {
    return static_cast<std::uint32_t>(message.GetInt(column, nullptr));
  };
  row.m_Count = integer(1);
  row.m_Byte2B = message.GetByte(2, nullptr);
  row.m_FirstTime = integer(3);
  row.m_LastTime = integer(4);
  row.m_SrcIp = integer(5);
  row.m_DstIp = integer(6);
  row.m_Flags = integer(7);
  row.m_ErrorCode = integer(8);
  row.m_Word10 = message.GetShort(9, nullptr);
  row.m_Protocol = message.GetByte(10, nullptr);
  row.m_SrcPort = message.GetShort(11, nullptr);
  row.m_DstPort = message.GetShort(12, nullptr);
  row.m_SrcId = integer(13);
  row.m_DstId = integer(14);
  row.m_PacketSize = integer(15);
  row.m_Dword23 = integer(16);  // deliberately asked for: servers declare 15 columns, so it reads 0
}

}  // namespace

int Query::process(CAbstractPacketOptions* message, std::vector<PacketDbClientItem>* rows) {
  if (const int status = write(message); status != 0) {
    return status;
  }
  PacketDbClientItem item;  // one for all rows: what no column sets stays 0
  message->BeginRead();
  if (message->ReadHeader() < 0) {
    return BusFailure(*message, kReadError, "Udb-header read error.", "Udb ReadHeader() error ");
  }
  while (message->ReadRecord() >= 0) {
    if (message->IsMarker() != 0) {
      return 0;
    }
    ReadRow(*message, item.m_Item);
    rows->push_back(item);
  }
  return BusFailure(*message, kReadError, "Udb-record read error.", "Udb ReadRecord() error ");
}

}  // namespace packetdb
