// The columns of a journal query, of the types that they should have.
#pragma once

#include <array>
#include <cstdint>
#include <initializer_list>
#include <string_view>
#include <utility>

#include "fuzz/client_bytes.h"
#include "host/bus/columns.h"

namespace packetdb::fuzz {

struct ColumnWord {
  std::uint32_t declared_id;
  std::uint32_t size;
};

constexpr std::uint32_t IntegerId(std::uint32_t id) { return host::kIntegerBit | id; }

inline constexpr ColumnWord kCommandWord = {IntegerId(0), 4};
inline constexpr ColumnWord kNameWord = {30, 32};
inline constexpr ColumnWord kVersionWord = {31, 1};
inline constexpr ColumnWord kDirectionWord = {32, 1};
inline constexpr ColumnWord kStartWord = {IntegerId(2), 8};
inline constexpr ColumnWord kEndWord = {IntegerId(3), 8};
inline constexpr ColumnWord kLimitWord = {IntegerId(8), 4};
inline constexpr std::uint32_t kCodesId = 15;
inline constexpr std::uint32_t kProtocolsId = 28;

// The other criteria: addresses, nodes, ports, flags.
inline constexpr std::array<ColumnWord, 12> kCriteria = {{{IntegerId(16), 4},
                                                          {IntegerId(17), 4},
                                                          {IntegerId(18), 4},
                                                          {IntegerId(19), 4},
                                                          {IntegerId(20), 4},
                                                          {IntegerId(21), 4},
                                                          {IntegerId(22), 2},
                                                          {IntegerId(23), 2},
                                                          {IntegerId(24), 2},
                                                          {IntegerId(25), 2},
                                                          {IntegerId(26), 4},
                                                          {IntegerId(27), 4}}};

inline ColumnBytes Number(const ColumnWord& word, std::uint64_t value) {
  return {word.declared_id, word.size, NetworkBytes(value, word.size)};
}

inline ColumnBytes Array(std::uint32_t id, Bytes value) {
  const auto size = static_cast<std::uint32_t>(value.size());
  return {id, size, std::move(value)};
}

// A name with NULs behind it.
ColumnBytes Name(std::string_view name);
ColumnBytes Codes(std::initializer_list<int> codes);

// What every query has, and all of the time there is.
RequestBytes QueryFor(std::string_view name);
// A request of a command and nothing else.
RequestBytes RequestFor(std::uint32_t command);

}  // namespace packetdb::fuzz
