#include "host/printing/fields.h"

#include <algorithm>

#include "host/printing/field_names.h"
#include "host/printing/template.h"
#include "host/sources/event.h"

namespace packetdb::host {
namespace {

using Event4 = CDrvErrorItemV4;

constexpr bool kRight = true;
constexpr bool kLeft = false;
constexpr bool kCut = true;
constexpr bool kWhole = false;

constexpr Field kFields[] = {
    {"first", "FIRST SEEN", "time of the first packet", kLeft, kWhole, "first_seen",
     "first_seen_unix",
     [](const Event4& e, const Row&, FieldNames&) { return MomentCell(e.m_FirstTime); }},
    {"last", "LAST SEEN", "time of the last packet", kLeft, kWhole, "last_seen", "last_seen_unix",
     [](const Event4& e, const Row&, FieldNames&) { return MomentCell(e.m_LastTime); }},
    {"count", "COUNT", "packets", kRight, kWhole, "", "",
     [](const Event4& e, const Row&, FieldNames&) { return Cell::Number(e.m_Count); }},
    {"bytes", "BYTES", "bytes of all packets", kRight, kWhole, "", "",
     [](const Event4& e, const Row&, FieldNames&) { return Cell::Number(e.m_PacketSize); }},
    {"verdict", "VERDICT", "accepted, dropped or rejected", kLeft, kWhole, "", "",
     [](const Event4& e, const Row&, FieldNames&) { return VerdictCell(e); }},
    {"dir", "DIR", "direction: in, out or fwd", kLeft, kWhole, "", "",
     [](const Event4& e, const Row&, FieldNames&) { return DirectionCell(e); }},
    {"proto", "PROTO", "protocol", kLeft, kWhole, "protocol", "protocol_number",
     [](const Event4& e, const Row&, FieldNames& names) {
       return Cell::Named(e.m_Protocol, names.Protocol(e.m_Protocol));
     }},
    {"packet", "PROTO", "protocol, with type and code of ICMP, or frag for a later fragment", kLeft,
     kWhole, "", "",
     [](const Event4& e, const Row&, FieldNames& names) { return PacketCell(e, names); }},
    {"source", "SOURCE", "source address and port", kLeft, kWhole, "", "",
     [](const Event4& e, const Row&, FieldNames& names) {
       return EndpointCell(e.m_SrcIp, names.Port(e.m_Protocol, e.m_SrcPort), e.m_SrcPort);
     }},
    {"src", "SRC", "source address", kLeft, kWhole, "src", "",
     [](const Event4& e, const Row&, FieldNames&) { return Cell::Address(e.m_SrcIp); }},
    {"src_port", "SPORT", "source port", kRight, kWhole, "", "src_port",
     [](const Event4& e, const Row&, FieldNames& names) {
       return Cell::Named(e.m_SrcPort, names.Port(e.m_Protocol, e.m_SrcPort));
     }},
    {"src_node", "SRC NODE", "network node of the source", kLeft, kCut, "src_node_name", "src_node",
     [](const Event4& e, const Row&, FieldNames& names) {
       return Cell::Named(e.m_SrcId, names.Node(e.m_SrcId));
     }},
    {"destination", "DESTINATION", "destination address and port", kLeft, kWhole, "", "",
     [](const Event4& e, const Row&, FieldNames& names) {
       return EndpointCell(e.m_DstIp, names.Port(e.m_Protocol, e.m_DstPort), e.m_DstPort);
     }},
    {"dst", "DST", "destination address", kLeft, kWhole, "dst", "",
     [](const Event4& e, const Row&, FieldNames&) { return Cell::Address(e.m_DstIp); }},
    {"dst_port", "DPORT", "destination port", kRight, kWhole, "", "dst_port",
     [](const Event4& e, const Row&, FieldNames& names) {
       return Cell::Named(e.m_DstPort, names.Port(e.m_Protocol, e.m_DstPort));
     }},
    {"dst_node", "DST NODE", "network node of the destination", kLeft, kCut, "dst_node_name",
     "dst_node",
     [](const Event4& e, const Row&, FieldNames& names) {
       return Cell::Named(e.m_DstId, names.Node(e.m_DstId));
     }},
    {"icmp_type", "ICMP TYPE", "type of ICMP", kRight, kWhole, "", "icmp_type",
     [](const Event4& e, const Row&, FieldNames&) {
       return IcmpCell(e, std::uint32_t{e.m_Word10} >> 8U);
     }},
    {"icmp_code", "ICMP CODE", "code of ICMP", kRight, kWhole, "", "icmp_code",
     [](const Event4& e, const Row&, FieldNames&) {
       return IcmpCell(e, std::uint32_t{e.m_Word10} & 0xFFU);
     }},
    {"event", "EVENT", "kind of event", kLeft, kCut, "event_name", "event",
     [](const Event4& e, const Row&, FieldNames& names) {
       return Cell::Named(e.m_ErrorCode, names.Event(e.m_ErrorCode));
     }},
    {"event_code", "EVENT CODE", "kind of event, as its number", kRight, kWhole, "", "",
     [](const Event4& e, const Row&, FieldNames&) { return Cell::Number(e.m_ErrorCode); }},
    {"flags", "FLAGS", "flags, but the rule", kLeft, kCut, "flags", "",
     [](const Event4& e, const Row&, FieldNames& names) {
       return Cell::List(e.m_Flags & ~kRuleMask, names.Flags(e.m_Flags));
     }},
    {"flags_value", "FLAG BITS", "flags as a number, the rule's among them", kRight, kWhole, "", "",
     [](const Event4& e, const Row&, FieldNames&) { return Cell::Number(e.m_Flags); }},
    {"rule", "RULE", "log prefix of the rule", kLeft, kCut, "rule", "",
     [](const Event4& e, const Row&, FieldNames& names) { return RuleCell(e, names); }},
    {"rule_number", "RULE NUMBER", "number of the rule", kRight, kWhole, "", "",
     [](const Event4& e, const Row&, FieldNames&) { return RuleNumberCell(e); }},
    {"rule_text", "RULE TEXT", "what the configuration says of the rule", kLeft, kCut, "", "",
     [](const Event4& e, const Row&, FieldNames& names) { return TextOrNull(names.RuleText(e)); }},
    {"iface", "IFACE", "interface", kLeft, kCut, "iface", "",
     [](const Event4&, const Row& row, FieldNames&) {
       return TextOrNull(std::string(row.interface));
     }},
    {"duration", "DURATION", "time from the first packet to the last", kRight, kWhole, "", "",
     [](const Event4& e, const Row&, FieldNames&) { return DurationCell(e); }},
};

// Of those who are told where nothing is chosen.
constexpr std::string_view kTableFields =
    "first,last,count,bytes,verdict,dir,packet,source,destination,event,rule";
constexpr std::string_view kAllFields =
    "first,last,count,bytes,verdict,dir,proto,src,src_port,src_node,dst,dst_port,dst_node,"
    "icmp_type,icmp_code,event,event_code,flags,flags_value,rule,rule_number,rule_text,iface,"
    "duration";
// Without those that say in one member what others say; older ones first, as they always were.
constexpr std::string_view kJsonFields =
    "first,last,count,bytes,proto,src,src_port,src_node,dst,dst_port,dst_node,icmp_type,icmp_code,"
    "event,flags,flags_value,verdict,dir,rule,rule_number,rule_text,iface,duration";
// Numbers that are stored, none of them twice.
constexpr std::string_view kRawFields =
    "first,last,count,bytes,proto,src,src_port,src_node,dst,dst_port,dst_node,icmp_type,icmp_code,"
    "event,flags_value,iface";

std::string_view FieldsOfFormat(PrintFormat format) {
  switch (format) {
    case PrintFormat::kTable:
      return kTableFields;
    case PrintFormat::kJson:
    case PrintFormat::kNdjson:
      return kJsonFields;
    case PrintFormat::kRaw:
      return kRawFields;
    default:
      return kAllFields;
  }
}

std::vector<std::string> AllFieldNames() {
  std::vector<std::string> names;
  for (const Field& field : kFields) names.emplace_back(field.name);
  return names;
}

std::vector<std::string> TemplateFields(const std::string& text) {
  std::vector<std::string> names;
  for (const TemplatePart& part : ParseTemplate(text)) {
    const bool is_known = std::find(names.begin(), names.end(), part.name) != names.end();
    if (!part.name.empty() && !is_known) names.push_back(part.name);
  }
  return names;
}

std::vector<std::string> ChosenNames(const PrintOptions& options) {
  if (options.format == PrintFormat::kTemplate) return TemplateFields(options.template_text);
  if (!options.fields.empty()) return options.fields;
  return ParseFields(FieldsOfFormat(options.format));
}

}  // namespace

std::span<const Field> RowFields() { return kFields; }

std::vector<const Field*> ChosenFields(const PrintOptions& options) {
  const std::vector<std::string> names = AllFieldNames();
  std::vector<const Field*> chosen;
  for (const std::string& name : ChosenNames(options)) {
    chosen.push_back(&kFields[PlaceOfName(name, names)]);
  }
  return chosen;
}

std::vector<std::string> ParseFields(std::string_view list) {
  const std::vector<std::string> names = AllFieldNames();
  std::vector<std::string> fields;
  for (std::size_t start = 0; start <= list.size();) {
    const std::size_t end = std::min(list.find(',', start), list.size());
    fields.emplace_back(list.substr(start, end - start));
    PlaceOfName(fields.back(), names);
    start = end + 1;
  }
  return fields;
}

PrintColumn ColumnOf(const Field& field) {
  const bool is_given = *field.text_key != '\0' || *field.number_key != '\0';
  return {field.name,
          field.head,
          field.is_right,
          field.may_be_cut,
          is_given ? field.text_key : field.name,
          is_given ? field.number_key : field.name};
}

}  // namespace packetdb::host
