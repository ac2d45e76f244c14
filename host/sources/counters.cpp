#include "host/sources/counters.h"

#include <numeric>

namespace packetdb::host {
namespace {

// In the order of the enumerations.
constexpr std::array<std::string_view, kSkipReasons> kSkipTexts = {
    "IPv6",
    "ARP",
    "neither IPv4, IPv6 nor ARP",
    "link header truncated",
    "too many VLAN tags",
    "IPv4 header truncated",
    "IP version is not 4",
    "IPv4 header length below 20 bytes",
    "IPv4 total length shorter than the header",
    "NFLOG record damaged",
    "NFLOG record of another family",
    "NFLOG record without packet bytes",
    "time later than 2038-01-19",
};
static_assert(!kSkipTexts.back().empty());
static_assert(static_cast<std::size_t>(SkipReason::kTooLate) + 1 == kSkipReasons);

constexpr std::array<std::string_view, kRemarks> kRemarkTexts = {
    "ports not captured",
    "malformed pdb: prefix",
    "time before 1980",
};
static_assert(!kRemarkTexts.back().empty());
static_assert(static_cast<std::size_t>(Remark::kTimeClamped) + 1 == kRemarks);

template <std::size_t N>
void AddTo(std::array<std::uint64_t, N>& sums, const std::array<std::uint64_t, N>& counts) {
  for (std::size_t i = 0; i < N; ++i) sums[i] += counts[i];
}

}  // namespace

std::string_view Text(SkipReason reason) { return kSkipTexts[static_cast<std::size_t>(reason)]; }

std::string_view Text(Remark remark) { return kRemarkTexts[static_cast<std::size_t>(remark)]; }

std::nullopt_t CaptureCounters::Skip(SkipReason reason) {
  ++skipped_[static_cast<std::size_t>(reason)];
  return std::nullopt;
}

std::uint64_t CaptureCounters::skipped() const {
  return std::accumulate(skipped_.begin(), skipped_.end(), std::uint64_t{0});
}

std::uint64_t CaptureCounters::skipped(SkipReason reason) const {
  return skipped_[static_cast<std::size_t>(reason)];
}

std::uint64_t CaptureCounters::noted(Remark remark) const {
  return noted_[static_cast<std::size_t>(remark)];
}

CaptureCounters& CaptureCounters::operator+=(const CaptureCounters& other) {
  packets_ += other.packets_;
  events_ += other.events_;
  AddTo(skipped_, other.skipped_);
  AddTo(noted_, other.noted_);
  return *this;
}

}  // namespace packetdb::host
