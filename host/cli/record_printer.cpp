#include "host/cli/record_printer.h"

#include <algorithm>
#include <fmt/format.h>
#include <iterator>
#include <string>

#include "host/cli/json_text.h"
#include "host/cli/words.h"
#include "host/journals/journal_record.h"
#include "host/printing/address_text.h"
#include "host/times/time_text.h"

namespace packetdb::host {

namespace {

bool Has(JournalFormat format, std::size_t offset) {
  const auto fields = FieldsOf(format);
  return std::any_of(fields.begin(), fields.end(),
                     [offset](const RecordField& field) { return field.offset == offset; });
}

// What a person reads a value as; empty where the number says it all.
std::string Reading(const PacketDbItemPacked& record, const RecordField& field) {
  switch (field.offset) {
    case offsetof(PacketDbItemPacked, m_SrcIp):
      return AddressText(record.m_SrcIp);
    case offsetof(PacketDbItemPacked, m_DstIp):
      return AddressText(record.m_DstIp);
    case offsetof(PacketDbItemPacked, m_Flags):
      return fmt::format("{}", fmt::join(FlagWords(record.m_Flags), "+"));
    case offsetof(PacketDbItemPacked, m_Protocol):
      return ProtocolWord(record.m_Protocol);
    case offsetof(PacketDbItemPacked, m_FirstTime):
      return RecordTime(record.m_FirstTime);
    case offsetof(PacketDbItemPacked, m_LastTime):
      return RecordTime(record.m_LastTime);
    default:
      return {};
  }
}

std::string HexLines(const SnapshotRecord& record, std::size_t size) {
  constexpr std::size_t kPerLine = 16;
  std::string text;
  for (std::size_t at = 0; at < size; ++at) {
    if (at % kPerLine == 0) {
      fmt::format_to(std::back_inserter(text), "{}  {:04x} ", at == 0 ? "" : "\n", at);
    }
    fmt::format_to(std::back_inserter(text), " {:02x}",
                   std::to_integer<unsigned>(record.bytes[at]));
  }
  return text + "\n";
}

std::string HexDigits(const SnapshotRecord& record, std::size_t size) {
  std::string text;
  for (std::size_t at = 0; at < size; ++at) {
    fmt::format_to(std::back_inserter(text), "{:02x}", std::to_integer<unsigned>(record.bytes[at]));
  }
  return text;
}

void PrintText(const SnapshotRecord& stored, const RecordStyle& style, std::FILE* out) {
  const PacketDbItemPacked record = DecodeRecord(style.format, stored.bytes);
  std::string text = fmt::format("record {}, byte {}\n", stored.sequence, stored.offset);
  for (const RecordField& field : FieldsOf(style.format)) {
    const std::string reading = Reading(record, field);
    fmt::format_to(std::back_inserter(text), "  {:<17}  {}{}{}\n", field.name,
                   ValueOf(record, field), reading.empty() ? "" : "  ", reading);
  }
  if (style.hex) {
    text += HexLines(stored, style.record_size);
  }
  std::fputs(text.c_str(), out);
}

void AddReadings(OrderedJson& object, JournalFormat format, const PacketDbItemPacked& record) {
  object["src"] = AddressText(record.m_SrcIp);
  object["dst"] = AddressText(record.m_DstIp);
  object["flags"] = FlagWords(record.m_Flags);
  object["protocol"] = ProtocolWord(record.m_Protocol);
  AddJournalTime(object, "first_seen", record.m_FirstTime);
  if (Has(format, offsetof(PacketDbItemPacked, m_LastTime))) {
    AddJournalTime(object, "last_seen", record.m_LastTime);
  }
}

void PrintJson(const SnapshotRecord& stored, const RecordStyle& style, std::FILE* out) {
  const PacketDbItemPacked record = DecodeRecord(style.format, stored.bytes);
  OrderedJson object;
  object["record"] = stored.sequence;
  object["state"] = "whole";
  object["byte"] = stored.offset;
  object["format"] = FormatName(style.format);
  for (const RecordField& field : FieldsOf(style.format)) {
    object[field.name] = ValueOf(record, field);
  }
  AddReadings(object, style.format, record);
  if (style.hex) {
    object["hex"] = HexDigits(stored, style.record_size);
  }
  std::fputs(JsonLine(object).c_str(), out);
}

std::string_view FateWord(RecordFate fate) {
  switch (fate) {
    case RecordFate::kGone:
      return "gone";
    case RecordFate::kLost:
      return "lost";
    default:
      return "damaged";
  }
}

std::string_view FateText(RecordFate fate) {
  switch (fate) {
    case RecordFate::kGone:
      return "overwritten by newer ones meanwhile";
    case RecordFate::kLost:
      return "not flushed to the disk before the machine stopped";
    default:
      return "what is stored does not go with its checksum";
  }
}

}  // namespace

void PrintRecord(const SnapshotRecord& record, const RecordStyle& style, std::FILE* out) {
  style.output == OutputFormat::kJson ? PrintJson(record, style, out)
                                      : PrintText(record, style, out);
}

void PrintUnread(RecordFate fate, std::uint64_t first, std::uint64_t last, OutputFormat output,
                 std::FILE* out) {
  if (output == OutputFormat::kJson) {
    OrderedJson object;
    object["record"] = first;
    object["last_record"] = last;
    object["state"] = FateWord(fate);
    std::fputs(JsonLine(object).c_str(), out);
    return;
  }
  const std::string which = first == last ? fmt::format("record {}", first)
                                          : fmt::format("records {} to {}", first, last);
  std::fputs(fmt::format("{}, {}: {}\n", which, FateWord(fate), FateText(fate)).c_str(), out);
}

}  // namespace packetdb::host
