// Runs `packetdb check` on a journal and takes its answer apart.
#pragma once

#include <cstdint>
#include <string>
#include <tuple>
#include <vector>

#include "host/cli/check_command.h"
#include "host/record_file/layout.h"
#include "tests/host/cli/examining.h"

namespace packetdb::host::test {

// Position, severity and kind.
using Found = std::tuple<std::uint64_t, std::string, std::string>;

// Where the record i of a journal is that never wrapped: each cell of 512 bytes holds some.
inline std::uint64_t At(std::uint64_t i, JournalFormat format = JournalFormat::k4) {
  const std::uint64_t frame = format == JournalFormat::k4 ? 80 : 72;
  const std::uint64_t in_cell = kCellSize / frame;
  return kCellsOffset + i / in_cell * kCellSize + i % in_cell * frame;
}

// A byte of the state page that is always zero.
inline constexpr std::uint64_t kPadding = kStateOffset + 20;

// Offsets in a record of format 4.
inline constexpr std::uint64_t kDword23 = 0x2B;
inline constexpr std::uint64_t kCount = 0x2F;
inline constexpr std::uint64_t kByte2B = 0x33;
inline constexpr std::uint64_t kCountCopy = 0x34;
inline constexpr std::uint64_t kFirstTime = 0x38;
inline constexpr std::uint64_t kLastTime = 0x3C;

class Check : public Examining {
 protected:
  Ran RunText() const {
    return Observe([this] { return RunCheck({path_, "text"}); });
  }
  Ran RunJson() const {
    return Observe([this] { return RunCheck({path_, "json"}); });
  }
  nlohmann::json Json() const { return nlohmann::json::parse(RunJson().out); }
  std::vector<Found> Findings() const {
    std::vector<Found> found;
    const nlohmann::json check = Json();
    for (const nlohmann::json& finding : check["findings"]) {
      found.emplace_back(finding["position"], finding["severity"], finding["kind"]);
    }
    return found;
  }
  // The findings in a journal of one record, followed by a sound one.
  std::vector<Found> FindingsIn(const PacketDbItemPacked& record,
                                JournalFormat format = JournalFormat::k4) {
    Store(path_, {record, RecordAt(10)}, 10, format);
    return Findings();
  }
};

}  // namespace packetdb::host::test
