#include "host/printing/field_cells.h"

#include <fmt/format.h>
#include <netinet/in.h>

#include "host/config/protocols.h"
#include "host/printing/address_text.h"
#include "host/sources/event.h"

namespace packetdb::host {
namespace {

bool IsForPeople(PrintFormat format) {
  return format == PrintFormat::kTable || format == PrintFormat::kWide ||
         format == PrintFormat::kTemplate;
}

bool IsJson(PrintFormat format) {
  return format == PrintFormat::kJson || format == PrintFormat::kNdjson;
}

bool IsLaterFragment(const CDrvErrorItemV4& event) {
  return (event.m_Flags & kFlagLaterFragment) != 0;
}

std::uint32_t RuleNumberOf(const CDrvErrorItemV4& event) {
  return (event.m_Flags & kRuleMask) >> kRuleShift;
}

// The colour of what hurts most.
Colour VerdictColour(std::uint32_t flags) {
  if ((flags & kFlagDropped) != 0) return Colour::kRed;
  return (flags & kFlagRejected) != 0 ? Colour::kYellow : Colour::kGreen;
}

}  // namespace

FieldNames::FieldNames(const Names& names, const PrintOptions& options)
    : names_(names),
      services_(options.services == nullptr ? ServiceNames::OfSystem() : *options.services),
      numeric_(options.numeric),
      has_port_names_(!options.numeric && IsForPeople(options.format)),
      has_flag_words_(!options.numeric || IsJson(options.format)) {}

std::string FieldNames::Port(std::uint8_t protocol, std::uint16_t port) const {
  const std::string* const name = has_port_names_ ? services_.Find(protocol, port) : nullptr;
  return TextOr(name);
}

std::string FieldNames::Protocol(std::uint8_t protocol) const {
  return numeric_ ? std::to_string(protocol) : ShowProtocol(protocol);
}

// A rule's meaning may have changed since; what it was when the event began counts.
std::string FieldNames::RulePrefix(const CDrvErrorItemV4& event) const {
  const RuleEntry* const rule = numeric_ ? nullptr : names_.Rule(event.m_Flags, event.m_FirstTime);
  return rule == nullptr ? std::string() : rule->prefix;
}

std::string FieldNames::RuleText(const CDrvErrorItemV4& event) const {
  const RuleEntry* const rule = numeric_ ? nullptr : names_.Rule(event.m_Flags, event.m_FirstTime);
  return rule == nullptr ? std::string() : rule->meaning.text;
}

const std::vector<std::string>& FieldNames::Flags(std::uint32_t flags) {
  constexpr std::size_t kMostKept = 4096;
  const std::uint32_t bits = flags & ~kRuleMask;
  const auto found = flags_.find(bits);
  if (found != flags_.end()) return found->second;
  if (flags_.size() >= kMostKept) flags_.clear();
  auto words =
      has_flag_words_ ? names_.Flags(bits) : std::vector<std::string>{fmt::format("{:#x}", bits)};
  return flags_.emplace(bits, std::move(words)).first->second;
}

Cell VerdictCell(const CDrvErrorItemV4& event) {
  std::string words;
  const auto add = [&](std::uint32_t flag, const char* word) {
    if ((event.m_Flags & flag) != 0) words += words.empty() ? word : std::string("+") + word;
  };
  add(kFlagAccepted, "accepted");
  add(kFlagDropped, "dropped");
  add(kFlagRejected, "rejected");
  return words.empty() ? Cell() : Cell::Text(std::move(words), VerdictColour(event.m_Flags));
}

Cell DirectionCell(const CDrvErrorItemV4& event) {
  switch (event.m_Flags & (kFlagIn | kFlagOut)) {
    case kFlagIn:
      return Cell::Text("in");
    case kFlagOut:
      return Cell::Text("out");
    case kFlagIn | kFlagOut:
      return Cell::Text("fwd");
    default:
      return {};
  }
}

Cell PacketCell(const CDrvErrorItemV4& event, const FieldNames& names) {
  std::string text = names.Protocol(event.m_Protocol);
  if (IsLaterFragment(event)) {
    text += " frag";
  } else if (event.m_Protocol == IPPROTO_ICMP) {
    text += fmt::format(" {}/{}", event.m_Word10 >> 8, event.m_Word10 & 0xFF);
  }
  return Cell::Text(std::move(text));
}

Cell EndpointCell(std::uint32_t address, const std::string& port_name, std::uint16_t port) {
  std::string text = AddressText(address);
  if (port != 0) text += ":" + (port_name.empty() ? std::to_string(port) : port_name);
  return Cell::Text(std::move(text));
}

// A fragment that does not start its packet has neither type nor code: 0 would be an echo reply.
Cell IcmpCell(const CDrvErrorItemV4& event, std::uint32_t value) {
  const bool has = event.m_Protocol == IPPROTO_ICMP && !IsLaterFragment(event);
  return has ? Cell::Number(value) : Cell();
}

Cell RuleCell(const CDrvErrorItemV4& event, const FieldNames& names) {
  const std::uint32_t number = RuleNumberOf(event);
  return number == 0 ? Cell() : Cell::Named(number, names.RulePrefix(event));
}

Cell RuleNumberCell(const CDrvErrorItemV4& event) {
  const std::uint32_t number = RuleNumberOf(event);
  return number == 0 ? Cell() : Cell::Number(number);
}

Cell TextOrNull(std::string text) { return text.empty() ? Cell() : Cell::Text(std::move(text)); }

Cell MomentCell(std::uint32_t seconds) {
  return Cell::Time(std::uint64_t{seconds} + TIME_1980_OFFSET);
}

Cell DurationCell(const CDrvErrorItemV4& event) {
  const bool is_ordered = event.m_LastTime >= event.m_FirstTime;
  return is_ordered ? Cell::Duration(event.m_LastTime - event.m_FirstTime) : Cell();
}

}  // namespace packetdb::host
