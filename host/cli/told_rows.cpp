#include "host/cli/told_rows.h"

#include <algorithm>
#include <cstring>
#include <fmt/format.h>
#include <iterator>

#include "host/bus/answer_code.h"
#include "host/bus/commands.h"
#include "host/bus/message.h"
#include "host/cli/asking.h"
#include "host/cli/bytes_text.h"
#include "host/cli/report.h"
#include "host/log/escape.h"
#include "host/times/time_text.h"
#include "packetdb/query.h"

namespace packetdb::host {

namespace {

const OrderedJson kNothing;

// Of the record read last, without the NULs that fill it up.
std::string_view TextOf(const Message& message) {
  unsigned int size = 0;
  const auto* text = static_cast<const char*>(message.GetRaw(kColumnText, &size));
  return text == nullptr ? std::string_view() : std::string_view(text, strnlen(text, size));
}

bool IsRow(const OrderedJson& row) {
  return row.is_object() && row.contains("kind") && row["kind"].is_string();
}

ExitCode MakesNoSense(std::size_t row) {
  Complain(fmt::format("the daemon's answer makes no sense: row {} is no object with a kind", row));
  return kExitFailed;
}

// Up to the marker.
ExitCode ReadRows(Message& message, const Connection& connection, ToldRows* rows) {
  message.BeginRead();
  int status = message.ReadHeader();
  while (status >= 0 && (status = message.ReadRecord()) >= 0 && message.IsMarker() == 0) {
    constexpr bool kThrows = false;
    rows->push_back(OrderedJson::parse(TextOf(message), nullptr, kThrows));
    if (!IsRow(rows->back())) {
      return MakesNoSense(rows->size());
    }
  }
  return status >= 0 ? kExitOk : AskingFailed(UDB_QUERY_FAILED, message, connection);
}

}  // namespace

ExitCode AskForRows(Connection& connection, int command, ToldRows* rows) {
  Message message(connection);
  const bool is_asked = WriteCommand(message, command);
  const int answer = is_asked ? udbGetCommandAnswer(&message) : UDB_QUERY_FAILED;
  if (answer != kAnswerOk) {
    return AskingFailed(answer, message, connection);
  }
  ToldRows read;
  const ExitCode status = ReadRows(message, connection, &read);
  if (status == kExitOk) {
    *rows = std::move(read);
  }
  return status;
}

ToldRows OfKind(const ToldRows& rows, std::string_view kind) {
  ToldRows found;
  std::copy_if(rows.begin(), rows.end(), std::back_inserter(found), [kind](const OrderedJson& row) {
    return row["kind"].get_ref<const std::string&>() == kind;
  });
  return found;
}

std::string CellOf(const OrderedJson& row, const std::string& key) {
  const OrderedJson& value = PartOf(row, key);
  if (value.is_string()) {
    return EscapeForLog(value.get_ref<const std::string&>());
  }
  if (value.is_number_float()) {
    return fmt::format("{:.1f}", value.get<double>());
  }
  return value.is_null() ? "-" : value.dump();
}

std::optional<std::uint64_t> NumberOf(const OrderedJson& row, const std::string& key) {
  const OrderedJson& value = PartOf(row, key);
  return value.is_number_unsigned() ? std::optional(value.get<std::uint64_t>()) : std::nullopt;
}

std::string TimeCell(const OrderedJson& row, const std::string& key) {
  const OrderedJson& value = PartOf(row, key);
  return value.is_number_integer() ? LocalTime(value.get<std::int64_t>()) : "-";
}

std::string BytesCell(const OrderedJson& row, const std::string& key) {
  const auto bytes = NumberOf(row, key);
  return bytes ? BytesText(*bytes) : "-";
}

const OrderedJson& PartOf(const OrderedJson& row, const std::string& key) {
  const auto part = row.find(key);
  return part == row.end() ? kNothing : *part;
}

OrderedJson WithTimes(const OrderedJson& row) {
  constexpr std::string_view kSuffix = "_unix";
  OrderedJson told = OrderedJson::object();
  for (const auto& [key, value] : row.items()) {
    if (key.ends_with(kSuffix) && value.is_number_integer()) {
      told[key.substr(0, key.size() - kSuffix.size())] = Rfc3339Time(value.get<std::int64_t>());
    }
    told[key] = value;
  }
  return told;
}

}  // namespace packetdb::host
