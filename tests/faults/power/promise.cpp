#include "tests/faults/power/promise.h"

#include <algorithm>
#include <fmt/format.h>

namespace packetdb::faults {
namespace {

using Complaints = std::vector<std::string>;

void JudgeOrder(const Found& found, Complaints* complaints) {
  const auto disorder = std::adjacent_find(
      found.records.begin(), found.records.end(),
      [](const Label& left, const Label& right) { return left.ordinal >= right.ordinal; });
  if (disorder == found.records.end()) return;
  complaints->push_back(fmt::format("record {} stands before record {}", disorder->ordinal,
                                    std::next(disorder)->ordinal));
}

void JudgeOrigin(const Promise& promise, const Found& found, Complaints* complaints) {
  if (found.garbage != 0) {
    complaints->push_back(fmt::format("{} record(s) that nobody wrote", found.garbage));
  }
  for (const Label& label : found.records) {
    const std::uint64_t last = promise.written.Of(label.ordinal);
    if (label.version != 0 && label.version <= last) continue;
    complaints->push_back(fmt::format("version {} of record {}, which had {} until then",
                                      label.version, label.ordinal, last));
    return;
  }
}

// Records that are older than the window of the newest that is there were dropped for it.
std::uint64_t FirstOwed(const Promise& promise, const Versions& there) {
  const std::uint64_t newest_window =
      there.end() < promise.capacity ? 0 : there.end() - promise.capacity;
  return std::max(promise.acknowledged.begin(), newest_window);
}

Versions VersionsOf(const Found& found) {
  Versions versions;
  if (!found.records.empty()) versions.DropBelow(found.records.front().ordinal);
  for (const Label& label : found.records) {
    if (label.ordinal >= versions.begin()) versions.Set(label.ordinal, label.version);
  }
  return versions;
}

void JudgeLoss(const Promise& promise, const Found& found, Complaints* complaints) {
  const Versions there = VersionsOf(found);
  std::uint64_t lost = 0;
  std::string first;
  for (std::uint64_t i = FirstOwed(promise, there); i < promise.acknowledged.end(); ++i) {
    if (there.Of(i) >= promise.acknowledged.Of(i)) continue;
    if (promise.may_be_missing && promise.may_be_missing(i)) continue;
    if (lost++ == 0) {
      first = fmt::format("record {} of version {} is there as {}", i, promise.acknowledged.Of(i),
                          there.Of(i));
    }
  }
  if (lost == 0) return;
  complaints->push_back(fmt::format(
      "{} acknowledged record(s) lost of {}..{}; there are {}..{}; {}", lost,
      promise.acknowledged.begin(), promise.acknowledged.end(), there.begin(), there.end(), first));
}

}  // namespace

void Versions::Set(std::uint64_t ordinal, std::uint64_t version) {
  if (ordinal >= end()) versions_.resize(ordinal - begin_ + 1);
  versions_[ordinal - begin_] = version;
}

void Versions::DropBelow(std::uint64_t begin) {
  if (begin <= begin_) return;
  const std::uint64_t drop = std::min<std::uint64_t>(begin - begin_, versions_.size());
  versions_.erase(versions_.begin(), versions_.begin() + static_cast<std::ptrdiff_t>(drop));
  begin_ = begin;
}

void Versions::CutTo(std::uint64_t end) {
  if (end < this->end()) versions_.resize(end < begin_ ? 0 : end - begin_);
}

std::vector<std::string> Judge(const Promise& promise, const Found& found) {
  if (found.result < 0) return {fmt::format("the journal cannot be opened: {}", found.result)};
  Complaints complaints;
  JudgeOrder(found, &complaints);
  JudgeOrigin(promise, found, &complaints);
  JudgeLoss(promise, found, &complaints);
  return complaints;
}

}  // namespace packetdb::faults
