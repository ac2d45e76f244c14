// What the fields of a row hold.
#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "host/names/names.h"
#include "host/printing/cells.h"
#include "host/printing/options.h"
#include "host/rows/row.h"

namespace packetdb::host {

// What numbers are called, as far as the options want it; asked for many rows.
class FieldNames {
 public:
  // Both must outlive it.
  FieldNames(const Names& names, const PrintOptions& options);

  // Empty for none, as are all below.
  std::string Event(std::uint32_t code) const { return TextOr(names_.Event(code)); }
  std::string Node(std::uint32_t id) const { return TextOr(names_.Node(id)); }
  // Only for people: in files for programs a port is a number.
  std::string Port(std::uint8_t protocol, std::uint16_t port) const;
  // A number as text where there is no name.
  std::string Protocol(std::uint8_t protocol) const;
  std::string RulePrefix(const CDrvErrorItemV4& event) const;
  std::string RuleText(const CDrvErrorItemV4& event) const;
  const std::vector<std::string>& Flags(std::uint32_t flags);

 private:
  std::string TextOr(const std::string* name) const {
    return numeric_ || name == nullptr ? std::string() : *name;
  }

  const Names& names_;
  const ServiceNames& services_;
  bool numeric_;
  bool has_port_names_;
  bool has_flag_words_;
  std::unordered_map<std::uint32_t, std::vector<std::string>> flags_;  // those asked for
};

// By CDrvErrorItemV4, its row, and the names; see fields.cpp for what each is.
Cell VerdictCell(const CDrvErrorItemV4& event);
Cell DirectionCell(const CDrvErrorItemV4& event);
Cell PacketCell(const CDrvErrorItemV4& event, const FieldNames& names);
Cell EndpointCell(std::uint32_t address, const std::string& port_name, std::uint16_t port);
Cell IcmpCell(const CDrvErrorItemV4& event, std::uint32_t value);
Cell RuleCell(const CDrvErrorItemV4& event, const FieldNames& names);
Cell RuleNumberCell(const CDrvErrorItemV4& event);
Cell TextOrNull(std::string text);
Cell MomentCell(std::uint32_t seconds);
Cell DurationCell(const CDrvErrorItemV4& event);

}  // namespace packetdb::host
