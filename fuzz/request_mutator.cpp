#include "fuzz/request_mutator.h"

#include <algorithm>
#include <array>
#include <utility>

#include "fuzz/request_words.h"
#include "host/bus/commands.h"
#include "packetdb/query.h"

namespace packetdb::fuzz {
namespace {

// At which something ends: of counts, sizes, codes of events, times of the journal's.
constexpr std::array<std::uint64_t, 22> kNumbers = {0,          1,
                                                    2,          6,
                                                    15,         17,
                                                    255,        256,
                                                    1999,       2000,
                                                    65535,      65536,
                                                    1600000000, 1600000010,
                                                    0x7FFFFFFF, 0x80000000,
                                                    0xFFFFFFF0, 0xFFFFFFF1,
                                                    0xFFFFFFFE, 0xFFFFFFFF,
                                                    1ULL << 63, ~std::uint64_t{0}};
constexpr std::array<const char*, 6> kNames = {"edge", "eth0", "eth1", "wan", "", "%s%n\x1B[1m"};
constexpr std::array<std::uint32_t, 6> kCommands = {
    UDB_GET_DBQUERY, host::kCommandExplain, host::kCommandStatus, host::kCommandJournals, 0,
    0xFFFFFFFF};

class Surgeon {
 public:
  Surgeon(std::uint64_t seed, std::span<const std::uint8_t> input)
      : random_(seed), client_(ParseClient(input)) {}

  void Operate() {
    if (client_.parts.empty() || Below(8) == 0) return ChangeParts();
    ClientPart& part = Draw(client_.parts);
    if (!part.is_request) return ChangeBytes(part.raw);
    RequestBytes& request = part.request;
    if (request.columns.empty() || Below(3) == 0) return AddColumn(request);
    if (Below(8) == 0) return ChangeRequest(request);
    ChangeColumns(request);
  }

  void Repair() {
    for (ClientPart& part : client_.parts) {
      for (ColumnBytes& column : part.request.columns) {
        column.declared_size = static_cast<std::uint32_t>(column.value.size());
      }
    }
  }
  Bytes Input() const { return SerializeClient(client_); }

 private:
  std::uint32_t Below(std::uint32_t bound) { return static_cast<std::uint32_t>(random_() % bound); }
  template <class T>
  T& Draw(std::vector<T>& list) {
    return list[Below(static_cast<std::uint32_t>(list.size()))];
  }
  template <class T, std::size_t kSize>
  const T& Draw(const std::array<T, kSize>& list) {
    return list[Below(kSize)];
  }
  std::uint64_t DrawNumber() { return Below(3) == 0 ? random_() : Draw(kNumbers); }
  std::uint8_t DrawByte() { return static_cast<std::uint8_t>(DrawNumber()); }

  void ChangeParts() {
    switch (client_.parts.empty() ? 0 : Below(6)) {
      case 0:
        client_.parts.push_back({true, QueryFor(Draw(kNames)), {}});
        break;
      case 1:
        client_.parts.push_back({true, RequestFor(Draw(kCommands)), {}});
        break;
      case 2:
        client_.parts.push_back(ClientPart(Draw(client_.parts)));
        break;
      case 3:
        client_.parts.push_back({false, {}, NetworkBytes(DrawNumber(), 1 + Below(12))});
        break;
      case 4:
        client_.parts.erase(client_.parts.begin() + Below(Count(client_.parts)));
        break;
      default:
        client_.options ^= static_cast<std::uint8_t>(1U << Below(2));
        break;
    }
  }

  template <class T>
  static std::uint32_t Count(const std::vector<T>& list) {
    return static_cast<std::uint32_t>(list.size());
  }

  void ChangeRequest(RequestBytes& request) {
    switch (Below(5)) {
      case 0:
        request.kind = static_cast<std::uint32_t>(DrawNumber());
        break;
      case 1:
        request.record_count = static_cast<std::uint32_t>(DrawNumber());
        break;
      case 2:
        request.marker = DrawByte();
        break;
      case 3:
        request.has_record = !request.has_record;
        break;
      default:
        while (request.columns.size() < host::kMaxColumns + Below(2)) AddColumn(request);
        break;
    }
  }

  void AddColumn(RequestBytes& request) {
    auto place = request.columns.begin();
    if (!request.columns.empty()) place += Below(Count(request.columns));
    request.columns.insert(place, NewColumn());
  }

  ColumnBytes NewColumn() {
    switch (Below(8)) {
      case 0:
        return Name(Draw(kNames));
      case 1:
        return NewArray(kCodesId, 4);
      case 2:
        return NewArray(kProtocolsId, 1);
      case 3:
        return Number(Below(2) == 0 ? kStartWord : kEndWord, DrawNumber());
      case 4:
        return Number(kLimitWord, DrawNumber());
      case 5:
        return {static_cast<std::uint32_t>(random_()), 4, NetworkBytes(DrawNumber(), 4)};
      case 6:
        return Number(Below(2) == 0 ? kVersionWord : kDirectionWord, Below(3));
      default:
        return Number(Draw(kCriteria), DrawNumber());
    }
  }

  ColumnBytes NewArray(std::uint32_t id, std::size_t element_size) {
    Bytes value;
    for (std::uint32_t left = 1 + Below(5); left > 0; --left) {
      const auto number = static_cast<std::uint32_t>(Below(2) == 0 ? DrawNumber() : 0U - Below(17));
      const Bytes element = HostBytes(number);
      value.insert(value.end(), element.begin(),
                   element.begin() + static_cast<std::ptrdiff_t>(element_size));
    }
    return Array(id, std::move(value));
  }

  void ChangeColumns(RequestBytes& request) {
    ColumnBytes& column = Draw(request.columns);
    switch (Below(8)) {
      case 0:
        request.columns.push_back(ColumnBytes(column));
        break;
      case 1:
        std::swap(column, Draw(request.columns));
        break;
      case 2:
        request.columns.erase(request.columns.begin() + (&column - request.columns.data()));
        break;
      case 3:
        column.declared_id ^= host::kIntegerBit;
        break;
      case 4:
        column.declared_id = IntegerId(Below(33));
        break;
      case 5:
        column.declared_size = static_cast<std::uint32_t>(DrawNumber());
        break;
      case 6:
        column.value = NetworkBytes(DrawNumber(), column.value.size());
        break;
      default:
        ChangeBytes(column.value);
        break;
    }
  }

  void ChangeBytes(Bytes& bytes) {
    if (bytes.empty() || Below(4) == 0) return bytes.resize(Below(40));
    if (Below(2) == 0) {
      Draw(bytes) = DrawByte();
    } else {
      Draw(bytes) ^= static_cast<std::uint8_t>(1U << Below(8));
    }
  }

  std::mt19937_64 random_;
  ClientBytes client_;
};

}  // namespace

Bytes RequestMutator::Mutate(std::span<const std::uint8_t> input) {
  Surgeon surgeon(random_(), input);
  const std::uint32_t operations = 1 + Below(4);
  for (std::uint32_t i = 0; i < operations; ++i) surgeon.Operate();
  if (Below(4) != 0) surgeon.Repair();
  return surgeon.Input();
}

}  // namespace packetdb::fuzz
