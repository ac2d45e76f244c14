#include "tests/host/printing/sample_rows.h"

#include "host/intake/rule_line.h"
#include "host/printing/row_printer.h"
#include "host/sources/event.h"
#include "tests/host/cli/captured.h"

namespace packetdb::host::test {
namespace {

constexpr std::uint32_t kAll = 0xFFFFFFFF;

Row IcmpRow() {
  Row row = DroppedRow();
  row.event.m_Protocol = 1;
  row.event.m_Word10 = 0x0301;
  row.event.m_SrcPort = row.event.m_DstPort = 0;
  row.event.m_Flags = kFlagOut | kFlagAccepted;
  row.event.m_ErrorCode = kCodeAccepted;
  row.event.m_SrcId = 3;
  row.interface = "wan";
  return row;
}

Row FragmentRow() {
  Row row = IcmpRow();
  row.event.m_Protocol = 17;
  row.event.m_Word10 = 0;
  row.event.m_Flags = kFlagIn | kFlagOut | kFlagRejected | kFlagLaterFragment;
  row.event.m_ErrorCode = kCodeRejected;
  return row;
}

Row NamelessRow() {
  Row row = DroppedRow();
  row.event.m_Flags = 0x80000000U | 7U << kRuleShift;
  row.event.m_ErrorCode = 1999;
  row.event.m_Protocol = 253;
  row.event.m_DstPort = 0;
  return row;
}

Row HostileRow() {
  Row row = DroppedRow();
  row.event.m_SrcIp = row.event.m_DstIp = kAll;
  row.event.m_Count = row.event.m_PacketSize = row.event.m_LastTime = kAll;
  row.event.m_FirstTime = kAll - 100000;
  row.event.m_ErrorCode = kAll;
  row.event.m_DstId = kAll;
  row.event.m_Flags = kFlagIn | kFlagDropped | 2U << kRuleShift;
  row.interface = "a,\"b\"\tc\x1b]0;x\a";
  return row;
}

}  // namespace

Row DroppedRow() {
  Row row;
  row.event.m_SrcIp = 0x0A000007;
  row.event.m_DstIp = 0xC0A80101;
  row.event.m_SrcPort = 40000;
  row.event.m_DstPort = 443;
  row.event.m_Protocol = 6;
  row.event.m_Flags = kFlagIn | kFlagDropped;
  row.event.m_ErrorCode = 1;
  row.event.m_Count = 3;
  row.event.m_PacketSize = 180;
  row.event.m_LastTime = 61;
  return row;
}

std::vector<Row> SampleRows() {
  return {DroppedRow(), IcmpRow(), FragmentRow(), NamelessRow(), HostileRow()};
}

Names SampleNames() {
  Names names;
  names.SetNodes({{"office", 3}, {"\x1b[2J\xff\\", kAll}});
  names.SetEvents({{"dropped", 1},
                   {"rejected", 2},
                   {"accepted", 40},
                   {"\xc2\x9b"
                    "31mred",
                    kAll}});
  RuleEntry rule;
  rule.number = 2;
  rule.since = 1763719260;
  rule.prefix = "a\nb\x1b[31m ";
  rule.meaning.text =
      "\xe2\x80\xae"
      "evil";
  const std::string text = std::string(kRuleDictionaryTitle) + "\n" + RuleLine(rule) + "\n";
  names.SetRules(RuleDictionary::Parse(text, "the test"));
  return names;
}

PrintOptions SampleOptions(const std::string& format) {
  static const ServiceNames services("https 443/tcp\n");
  PrintOptions options;
  SetFormat(format, &options);
  options.services = &services;
  return options;
}

std::string PrintedRows(const std::vector<Row>& rows, const PrintOptions& options,
                        const Names& names) {
  return Printed([&](std::FILE* out) {
    const auto printer = MakeRowPrinter(options, names, out);
    for (const Row& row : rows) printer->Print(row);
    printer->Finish();
  });
}

std::string PrintedSamples(const std::string& format) {
  const TimeZone zone("UTC0");
  return PrintedRows(SampleRows(), SampleOptions(format), SampleNames());
}

std::string PrintedTable(const std::vector<PrintColumn>& columns,
                         const std::vector<std::vector<Cell>>& rows, const PrintOptions& options) {
  return Printed([&](std::FILE* out) {
    const auto printer = MakeTablePrinter(options, columns, out);
    for (const auto& cells : rows) printer->Add(cells);
    printer->Finish();
  });
}

}  // namespace packetdb::host::test
