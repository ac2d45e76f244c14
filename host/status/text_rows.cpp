#include "host/status/text_rows.h"

#include <algorithm>

#include "host/bus/answer_code.h"
#include "host/bus/commands.h"
#include "host/bus/table_header.h"

namespace packetdb::host {
namespace {

constexpr int kHandled = 0;
constexpr int kCallFailed = -1;

bool WriteHeader(CAbstractPacketOptions& message, std::size_t width) {
  constexpr int kMarkerFollows = 1;
  message.SetKind(kKindAnswer);
  message.SetRecordCount(kCountNotAnnounced);
  message.SetMarkerFlag(kMarkerFollows);
  message.AddColumn(kColumnText, static_cast<unsigned int>(width));
  return message.WriteHeader() >= 0;
}

bool WriteRow(CAbstractPacketOptions& message, std::string row, std::size_t width) {
  row.resize(width, '\0');
  message.SetValue(kColumnText, row.data());
  return message.WriteRecord() >= 0;
}

}  // namespace

int SendTextRows(CAbstractPacketOptions& message, const std::vector<std::string>& rows) {
  std::size_t width = 1;  // a column has at least one byte
  for (const std::string& row : rows) width = std::max(width, row.size());
  if (udbSendCommandAnswer(&message, kAnswerOk) < 0 || !WriteHeader(message, width)) {
    return kCallFailed;
  }
  const bool is_complete = std::all_of(rows.begin(), rows.end(), [&](const std::string& row) {
    return WriteRow(message, row, width);
  });
  return is_complete && message.WriteMarker() >= 0 ? kHandled : kCallFailed;
}

}  // namespace packetdb::host
