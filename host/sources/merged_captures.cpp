#include "host/sources/merged_captures.h"

#include <tuple>
#include <utility>

namespace packetdb::host {

bool MergedCaptures::Later::operator()(const Head& a, const Head& b) const {
  return std::tie(a.event.time, a.event.nanoseconds, a.reader) >
         std::tie(b.event.time, b.event.nanoseconds, b.reader);
}

MergedCaptures::MergedCaptures(std::vector<CaptureReader> readers) : readers_(std::move(readers)) {
  for (std::size_t i = 0; i < readers_.size(); ++i) Refill(i);
}

std::optional<Event> MergedCaptures::Next() {
  if (heads_.empty()) return std::nullopt;
  Head head = heads_.top();
  heads_.pop();
  Refill(head.reader);
  return std::move(head.event);
}

CaptureCounters MergedCaptures::counters() const {
  CaptureCounters sum;
  for (const CaptureReader& reader : readers_) sum += reader.counters();
  return sum;
}

std::vector<CaptureFailure> MergedCaptures::failures() const {
  std::vector<CaptureFailure> failures;
  for (const CaptureReader& reader : readers_) {
    if (reader.failure()) failures.push_back(*reader.failure());
  }
  return failures;
}

void MergedCaptures::Refill(std::size_t reader) {
  if (std::optional<Event> event = readers_[reader].Next()) {
    heads_.push({std::move(*event), reader});
  }
}

}  // namespace packetdb::host
