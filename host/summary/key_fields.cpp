#include "host/summary/key_fields.h"

#include <algorithm>
#include <fmt/format.h>

#include "host/printing/field_names.h"
#include "host/sources/event.h"

namespace packetdb::host {
namespace {

using Event4 = CDrvErrorItemV4;

constexpr std::uint32_t kVerdictMask = kFlagAccepted | kFlagDropped | kFlagRejected;
constexpr std::uint32_t kDirectionMask = kFlagIn | kFlagOut;

// A part of the flags; what other fields say of them stays.
template <std::uint32_t kMask>
constexpr KeyField FlagsField(const char* name) {
  return {name, sizeof(std::uint32_t),
          [](const Event4& e) { return std::uint64_t{e.m_Flags & kMask}; },
          [](std::uint64_t value, Event4* e) {
            e->m_Flags |= static_cast<std::uint32_t>(value) & kMask;
          }};
}

// A member of a packed event has no address to point at, so each is read by its name.
constexpr KeyField kKeyFields[] = {
    FlagsField<kVerdictMask>("verdict"),
    FlagsField<kDirectionMask>("dir"),
    {"proto", 1, [](const Event4& e) { return std::uint64_t{e.m_Protocol}; },
     [](std::uint64_t value, Event4* e) { e->m_Protocol = static_cast<std::uint8_t>(value); }},
    {"src", 4, [](const Event4& e) { return std::uint64_t{e.m_SrcIp}; },
     [](std::uint64_t value, Event4* e) { e->m_SrcIp = static_cast<std::uint32_t>(value); }},
    {"src_port", 2, [](const Event4& e) { return std::uint64_t{e.m_SrcPort}; },
     [](std::uint64_t value, Event4* e) { e->m_SrcPort = static_cast<std::uint16_t>(value); }},
    {"src_node", 4, [](const Event4& e) { return std::uint64_t{e.m_SrcId}; },
     [](std::uint64_t value, Event4* e) { e->m_SrcId = static_cast<std::uint32_t>(value); }},
    {"dst", 4, [](const Event4& e) { return std::uint64_t{e.m_DstIp}; },
     [](std::uint64_t value, Event4* e) { e->m_DstIp = static_cast<std::uint32_t>(value); }},
    {"dst_port", 2, [](const Event4& e) { return std::uint64_t{e.m_DstPort}; },
     [](std::uint64_t value, Event4* e) { e->m_DstPort = static_cast<std::uint16_t>(value); }},
    {"dst_node", 4, [](const Event4& e) { return std::uint64_t{e.m_DstId}; },
     [](std::uint64_t value, Event4* e) { e->m_DstId = static_cast<std::uint32_t>(value); }},
    {"event", 4, [](const Event4& e) { return std::uint64_t{e.m_ErrorCode}; },
     [](std::uint64_t value, Event4* e) { e->m_ErrorCode = static_cast<std::uint32_t>(value); }},
    FlagsField<~kRuleMask>("flags"),
    FlagsField<kRuleMask>("rule"),
    {"iface", sizeof(std::uint32_t), nullptr, nullptr},
};

// What other tools call them.
std::string UsualName(std::string_view name) {
  if (name == "sport" || name == "srcport") return "src_port";
  if (name == "dport" || name == "dstport") return "dst_port";
  return std::string(name);
}

}  // namespace

std::vector<std::string> KeyFieldNames() {
  std::vector<std::string> names;
  for (const KeyField& field : kKeyFields) names.emplace_back(field.name);
  return names;
}

KeyFields ParseKeyFields(std::string_view list) {
  const std::vector<std::string> names = KeyFieldNames();
  KeyFields fields;
  for (std::size_t start = 0; start <= list.size();) {
    const std::size_t end = std::min(list.find(',', start), list.size());
    const std::string name = UsualName(list.substr(start, end - start));
    const KeyField* const field = &kKeyFields[PlaceOfName(name, names)];
    if (std::find(fields.begin(), fields.end(), field) != fields.end()) {
      throw PrintError(fmt::format("the field '{}' is there twice: name it once", name));
    }
    fields.push_back(field);
    start = end + 1;
  }
  return fields;
}

}  // namespace packetdb::host
