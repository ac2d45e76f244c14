#include "host/record_file/check_zeros.h"

#include <algorithm>

namespace packetdb::host {
namespace {

bool IsZero(std::byte byte) { return byte == std::byte{0}; }

}  // namespace

std::string LengthText(const ByteRange& range) {
  const std::uint64_t length = range.end - range.begin;
  return "(" + std::to_string(length) + (length == 1 ? " byte)" : " bytes)");
}

void Runs::Add(const ByteRange& wrong) {
  const bool is_near = run_.end != 0 && wrong.begin - run_.end < gap_;
  if (!is_near) {
    End();
    run_.begin = wrong.begin;
  }
  run_.end = wrong.end;
}

void Runs::End() {
  if (run_.end != 0) report_(run_);
  run_ = {};
}

void Runs::AddWrongOf(const std::byte* begin, const std::byte* end, std::uint64_t position) {
  const auto at = [&](const std::byte* byte) {
    return position + static_cast<std::uint64_t>(byte - begin);
  };
  const std::byte* wrong = std::find_if_not(begin, end, IsZero);
  while (wrong != end) {
    const std::byte* const right = std::find_if(wrong, end, IsZero);
    Add({at(wrong), at(right)});
    wrong = std::find_if_not(right, end, IsZero);
  }
}

}  // namespace packetdb::host
