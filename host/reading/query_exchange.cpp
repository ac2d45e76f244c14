#include "host/reading/query_exchange.h"

#include <string>

#include "host/bus/answer_code.h"
#include "host/bus/commands.h"
#include "host/bus/message.h"
#include "host/reading/told_objects.h"

namespace packetdb::host {

namespace {

// The columns of the library's answer; a row has more fields, which the bus does not carry.
void TakeColumns(const Message& message, CDrvErrorItemV4& event) {
  const auto integer = [&](unsigned int column) {
    return static_cast<std::uint32_t>(message.GetInt(column, nullptr));
  };
  event.m_Count = integer(1);
  event.m_Byte2B = message.GetByte(2, nullptr);
  event.m_FirstTime = integer(3);
  event.m_LastTime = integer(4);
  event.m_SrcIp = integer(5);
  event.m_DstIp = integer(6);
  event.m_Flags = integer(7);
  event.m_ErrorCode = integer(8);
  event.m_Word10 = message.GetShort(9, nullptr);
  event.m_Protocol = message.GetByte(10, nullptr);
  event.m_SrcPort = message.GetShort(11, nullptr);
  event.m_DstPort = message.GetShort(12, nullptr);
  event.m_SrcId = integer(13);
  event.m_DstId = integer(14);
  event.m_PacketSize = integer(15);
}

// Where the limit of a query was reached, what is beyond is not known.
void NoteCut(const Query& query, std::uint64_t rows, const Row& last, ReadResult* result) {
  if (query.m_RecCount != 0 && rows >= query.m_RecCount) {
    result->cut_at = FirstSeen(last);
  }
}

ReadResult TakeRows(const Query& query, Message& message, const Connection& connection, Row row,
                    const RowSink& sink) {
  message.BeginRead();
  if (message.ReadHeader() < 0) {
    return ExchangeFailed(UDB_QUERY_FAILED, message, connection);
  }
  std::uint64_t rows = 0;
  while (message.ReadRecord() >= 0) {
    if (message.IsMarker() != 0) {
      ReadResult result = {.outcome = rows == 0 ? ReadOutcome::kNothing : ReadOutcome::kDone};
      NoteCut(query, rows, row, &result);
      return result;
    }
    TakeColumns(message, row.event);
    ++rows;
    if (!sink(row)) {
      return {ReadOutcome::kStopped};
    }
  }
  return ExchangeFailed(UDB_QUERY_FAILED, message, connection);
}

ReadOutcome OutcomeOf(QueryRefusal refusal) {
  switch (refusal) {
    case QueryRefusal::kNoSuchName:
      return ReadOutcome::kNoSuchName;
    case QueryRefusal::kTooManyRows:
      return ReadOutcome::kTooManyRows;
    case QueryRefusal::kNoAnswer:
      return ReadOutcome::kTooMuchWork;
    default:
      return ReadOutcome::kFailed;
  }
}

// The library's answer does not tell an empty selection from a failure; the daemon can. One that
// does not say what kind of failure it is may mean that it was asked for too much.
ReadResult WhyNothingCame(Connection& connection) {
  Message message(connection);
  const int answer = AskCommand(message, kCommandExplain);
  if (answer == kAnswerNothingOrFailed || answer == kAnswerUnknownCommand) {
    return {ReadOutcome::kNothing};
  }
  if (answer != kAnswerOk) {
    return ExchangeFailed(answer, message, connection);
  }
  message.BeginRead();
  if (message.ReadHeader() < 0 || message.ReadRecord() < 0 || message.IsMarker() != 0) {
    return ExchangeFailed(UDB_QUERY_FAILED, message, connection);
  }
  unsigned int size = 0;
  const auto* text = static_cast<const char*>(message.GetRaw(kColumnReason, &size));
  std::string reason =
      text == nullptr ? std::string("it does not say why") : std::string(text, size);
  const bool tells_kind = message.GetRaw(kColumnRefusal, nullptr) != nullptr;
  const auto refusal = static_cast<QueryRefusal>(message.GetInt(kColumnRefusal, nullptr));
  message.ReadRecord();  // the marker
  return {tells_kind ? OutcomeOf(refusal) : ReadOutcome::kTooMuchWork, std::move(reason)};
}

}  // namespace

ReadResult ExchangeQuery(Connection& connection, Query query, std::string_view interface,
                         const RowSink& sink) {
  Message message(connection);
  const int answer = query.write(&message);
  if (answer == kAnswerNothingOrFailed) {
    return WhyNothingCame(connection);
  }
  if (answer != kAnswerOk) {
    return ExchangeFailed(answer, message, connection);
  }
  return TakeRows(query, message, connection, Row{.event = {}, .interface = interface}, sink);
}

}  // namespace packetdb::host
