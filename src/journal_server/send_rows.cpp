// The answer: its code, and the table of the selected records.
#include "packetdb/journal_server.h"
#include "src/log.h"
#include "src/query/wire.h"

namespace packetdb {

namespace {

constexpr char kLogSource[] = "src/journal_server";
constexpr int kTableKind = 0;
constexpr int kNotAnnounced = -1;
constexpr int kMarkerFollows = 1;

struct Column {
  unsigned int id;
  unsigned int size;
  std::size_t offset;  // of the value in the event
};

#define COLUMN(id, field) \
  { id, sizeof(CDrvErrorItemV4::field), offsetof(CDrvErrorItemV4, field) }

// The tenth identifier deliberately lacks the integer mark that all others carry, the second one
// included: clients are built against exactly these declarations.
constexpr Column kColumns[] = {
    COLUMN(kIntegerColumn | 1, m_Count),       COLUMN(kIntegerColumn | 2, m_Byte2B),
    COLUMN(kIntegerColumn | 3, m_FirstTime),   COLUMN(kIntegerColumn | 4, m_LastTime),
    COLUMN(kIntegerColumn | 5, m_SrcIp),       COLUMN(kIntegerColumn | 6, m_DstIp),
    COLUMN(kIntegerColumn | 7, m_Flags),       COLUMN(kIntegerColumn | 8, m_ErrorCode),
    COLUMN(kIntegerColumn | 9, m_Word10),      COLUMN(10, m_Protocol),
    COLUMN(kIntegerColumn | 11, m_SrcPort),    COLUMN(kIntegerColumn | 12, m_DstPort),
    COLUMN(kIntegerColumn | 13, m_SrcId),      COLUMN(kIntegerColumn | 14, m_DstId),
    COLUMN(kIntegerColumn | 15, m_PacketSize),
};

#undef COLUMN

void Require(int status, const char* what) {
  if (status < 0) {
    throw XPacketDb(what, true);
  }
}

}  // namespace

void UdbJournalServer::SendRows(CAbstractPacketOptions* message, const DbItemSelection& selection) {
  Require(udbSendCommandAnswer(message, selection.empty() ? kAnswerNothing : 0),
          "sending UDB_GET_DBQUERY answer");
  if (selection.empty()) {
    return;
  }
  message->SetKind(kTableKind);
  message->SetRecordCount(kNotAnnounced);
  message->SetMarkerFlag(kMarkerFollows);
  DeclareColumns(message);
  Require(message->WriteHeader(), "writing header");
  std::uint32_t rows = 0;
  for (const PacketDbItem& item : selection) {
    SendRow(message, item.m_Item);
    ++rows;
  }
  Require(message->WriteMarker(), "writing marker");
  PACKETDB_LOG(log::kQuery) << "wrote " << rows << " records";
}

void UdbJournalServer::DeclareColumns(CAbstractPacketOptions* message) {
  for (const Column& column : kColumns) {
    AddColumnId(message, column.id, column.size);
  }
}

void UdbJournalServer::SendRow(CAbstractPacketOptions* message, const CDrvErrorItemV4& item) {
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(&item);
  unsigned int position = 0;
  for (const Column& column : kColumns) {
    SetColumnValue(message, ++position, bytes + column.offset);
  }
  Require(message->WriteRecord(), "writing record");
}

void UdbJournalServer::AddColumnId(CAbstractPacketOptions* message, unsigned int id,
                                   unsigned int size) {
  PACKETDB_LOG(log::kTrace) << "adding column " << id << " with size " << size;
  Require(message->AddColumn(id, size), "adding column id failed");
}

void UdbJournalServer::SetColumnValue(CAbstractPacketOptions* message, unsigned int column,
                                      const void* value) {
  PACKETDB_LOG(log::kTrace) << "adding value at " << log::Hex(value) << " for column " << column;
  Require(message->SetValue(column, value), "setting value of column failed");
}

}  // namespace packetdb
