#include "tests/host/bus/journal_like.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>

namespace packetdb::host {
namespace {

struct Field {
  unsigned int id;
  unsigned int size;
  const void* value;
};

void Require(int result, const char* what) {
  if (result < 0) throw std::runtime_error(what);
}

std::vector<Field> QueryFields(const JournalQuery& query) {
  static const int kCommand = kTestCommand;
  std::vector<Field> fields = {
      {kIntegerBit | 0, 4, &kCommand}, {30, 32, query.interface}, {31, 1, &query.version}};
  if (query.time_start != 0) fields.push_back({kIntegerBit | 2, 8, &query.time_start});
  if (query.record_limit != 0) fields.push_back({kIntegerBit | 8, 4, &query.record_limit});
  if (query.port != 0) fields.push_back({kIntegerBit | 22, 2, &query.port});
  if (!query.protocols.empty()) {
    fields.push_back(
        {28, static_cast<unsigned int>(query.protocols.size()), query.protocols.data()});
  }
  if (!query.codes.empty()) {
    fields.push_back({15, static_cast<unsigned int>(4 * query.codes.size()), query.codes.data()});
  }
  return fields;
}

// The tenth column is declared without bit 31, the second with it.
std::vector<Field> RowFields(const JournalRow& row) {
  constexpr unsigned int kBit = kIntegerBit;
  return {{kBit | 1, 4, &row.count},        {kBit | 2, 1, &row.byte},
          {kBit | 3, 4, &row.first_time},   {kBit | 4, 4, &row.last_time},
          {kBit | 5, 4, &row.source},       {kBit | 6, 4, &row.destination},
          {kBit | 7, 4, &row.flags},        {kBit | 8, 4, &row.code},
          {kBit | 9, 2, &row.word},         {10, 1, &row.protocol},
          {kBit | 11, 2, &row.source_port}, {kBit | 12, 2, &row.destination_port},
          {kBit | 13, 4, &row.source_id},   {kBit | 14, 4, &row.destination_id},
          {kBit | 15, 4, &row.packet_size}};
}

JournalRow ReadRow(const CAbstractPacketOptions& message) {
  const auto number = [&](unsigned int id) {
    return static_cast<std::uint32_t>(message.GetInt(id, nullptr));
  };
  JournalRow row{};
  row.count = number(1);
  row.byte = message.GetByte(2, nullptr);
  row.first_time = number(3);
  row.last_time = number(4);
  row.source = number(5);
  row.destination = number(6);
  row.flags = number(7);
  row.code = number(8);
  row.word = message.GetShort(9, nullptr);
  row.protocol = message.GetByte(10, nullptr);
  row.source_port = message.GetShort(11, nullptr);
  row.destination_port = message.GetShort(12, nullptr);
  row.source_id = number(13);
  row.destination_id = number(14);
  row.packet_size = number(15);
  return row;
}

template <class T>
std::vector<T> ReadArray(const CAbstractPacketOptions& message, unsigned int id) {
  unsigned int size = 0;
  const void* bytes = message.GetRaw(id, &size);
  std::vector<T> array(size / sizeof(T));
  if (!array.empty()) std::memcpy(array.data(), bytes, array.size() * sizeof(T));
  return array;
}

int ServeJournal(CAbstractPacketOptions* message, const std::vector<JournalRow>& rows) {
  const JournalQuery query = ReadJournalQuery(*message);
  if (query.version == 0) {
    udbSendCommandAnswer(message, -100);
    return -1;
  }
  std::vector<JournalRow> selection = rows;
  if (query.record_limit != 0 && query.record_limit < rows.size()) {
    selection.resize(query.record_limit);
  }
  try {
    SendJournalRows(*message, selection);
  } catch (const std::runtime_error&) {
    udbSendCommandAnswer(message, -3);
    return -1;
  }
  return 0;
}

}  // namespace

std::vector<JournalRow> SampleRows(unsigned int count) {
  std::vector<JournalRow> rows;
  for (unsigned int i = 0; i < count; ++i) {
    rows.push_back({.count = 1000 + i,
                    .first_time = 0x50000000 + i,
                    .last_time = 0x50000100 + i,
                    .source = 0x7F000001 + i,
                    .destination = 0xFF000002 + i,
                    .flags = 0x80000001,
                    .code = static_cast<std::uint32_t>(-5),
                    .source_id = 11 + i,
                    .destination_id = 12 + i,
                    .packet_size = 1500,
                    .word = 0x1234,
                    .source_port = 65535,
                    .destination_port = 53,
                    .byte = 0xAB,
                    .protocol = 17});
  }
  return rows;
}

bool WriteJournalQuery(CAbstractPacketOptions& message, const JournalQuery& query) {
  const std::vector<Field> fields = QueryFields(query);
  message.SetKind(1);
  for (const Field& field : fields) message.AddColumn(field.id, field.size);
  message.SetRecordCount(1);
  if (message.WriteHeader() < 0) return false;
  for (const Field& field : fields) message.SetValue(field.id & ~kIntegerBit, field.value);
  return message.WriteRecord() >= 0;
}

int AskJournal(CAbstractPacketOptions& message, const JournalQuery& query,
               std::vector<JournalRow>* rows) {
  if (!WriteJournalQuery(message, query)) return -101;
  const int answer = udbGetCommandAnswer(&message);
  if (answer != 0) return answer;
  message.BeginRead();
  if (message.ReadHeader() < 0) return -101;
  for (;;) {
    if (message.ReadRecord() < 0) return -101;
    if (message.IsMarker() != 0) return 0;
    // A column that the table does not have reads as 0.
    if (message.GetInt(16, nullptr) != 0) return -101;
    rows->push_back(ReadRow(message));
  }
}

JournalQuery ReadJournalQuery(const CAbstractPacketOptions& message) {
  JournalQuery query;
  unsigned int size = 0;
  const void* name = message.GetRaw(30, &size);
  std::memset(query.interface, 0, sizeof query.interface);
  if (name != nullptr && size == sizeof query.interface) {
    std::memcpy(query.interface, name, sizeof query.interface);
  }
  query.version = message.GetByte(31, nullptr);
  query.time_start = message.GetInt(2, nullptr);
  query.record_limit = static_cast<std::uint32_t>(message.GetInt(8, nullptr));
  query.port = message.GetShort(22, nullptr);
  query.protocols = ReadArray<unsigned char>(message, 28);
  query.codes = ReadArray<int>(message, 15);
  return query;
}

void SendJournalRows(CAbstractPacketOptions& message, const std::vector<JournalRow>& rows) {
  Require(udbSendCommandAnswer(&message, rows.empty() ? -3 : 0), "answer");
  if (rows.empty()) return;
  message.SetKind(0);
  message.SetRecordCount(-1);
  message.SetMarkerFlag(1);
  for (const Field& field : RowFields(rows[0])) {
    Require(message.AddColumn(field.id, field.size), "column");
  }
  Require(message.WriteHeader(), "header");
  for (const JournalRow& row : rows) {
    unsigned int position = 0;
    for (const Field& field : RowFields(row)) {
      Require(message.SetValue(++position, field.value), "value");
    }
    Require(message.WriteRecord(), "record");
  }
  Require(message.WriteMarker(), "marker");
}

void RegisterJournal(Dispatcher& dispatcher, const std::vector<JournalRow>& rows) {
  Register(dispatcher, kTestCommand,
           [rows](CAbstractPacketOptions* message) { return ServeJournal(message, rows); });
}

}  // namespace packetdb::host
