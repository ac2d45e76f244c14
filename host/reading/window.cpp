#include "host/reading/window.h"

#include <algorithm>

namespace packetdb::host {

ReadResult RowWindow::Fill(const WindowRange& range, std::uint32_t limit) {
  rows_.clear();
  came_ = 0;
  newest_ = 0;
  Query query = request_.criteria;
  query.m_TimeStart = range.from;
  query.m_TimeEnd = range.until;
  query.m_RecCount = limit;
  ReadResult result = request_.source.Read(query, [&](const Row& row) { return Take(row, range); });
  if (!result.cut_at) {
    return result;
  }
  if (*result.cut_at < range.own_from()) {
    result.cut_at.reset();  // what is missing belongs to older windows
  }
  while (result.cut_at && !rows_.empty() && FirstSeen(rows_.back()) <= *result.cut_at) {
    rows_.pop_back();
  }
  return result;
}

bool RowWindow::Take(const Row& row, const WindowRange& range) {
  const std::int64_t first = FirstSeen(row);
  newest_ = std::max(newest_, first);
  ++came_;
  if (first >= range.own_from() && (!request_.wanted || request_.wanted(row))) {
    rows_.push_back(row);
  }
  return !request_.cancelled;
}

WindowRange WholeRange(const Query& criteria) {
  constexpr std::int64_t kLatest = std::numeric_limits<std::int32_t>::max();
  return {.from = std::clamp<std::int64_t>(criteria.m_TimeStart, 0, kLatest),
          .until = std::clamp<std::int64_t>(criteria.m_TimeEnd, 0, kLatest),
          .is_oldest = true};
}

void RowLimit::Grow() {
  granted_ = 0;
  limit_ = limit_ < usual_ / kGrowth ? limit_ * kGrowth : usual_;
}

// What was refused once is not tried again but for a second that has more.
bool RowLimit::Refused() {
  refused_ = std::min(refused_, limit_);
  granted_ = granted_ < refused_ ? granted_ : 0;
  limit_ = granted_ + (refused_ - granted_) / 2;
  usual_ = std::clamp(limit_, 1U, usual_);
  return limit_ > granted_;
}

bool RowLimit::TooFew() {
  granted_ = std::max(granted_, limit_);
  const bool may_be_any = refused_ == kMost && granted_ < kMost / kGrowth;
  limit_ = may_be_any ? granted_ * kGrowth : granted_ + (refused_ - granted_) / 2;
  return limit_ > granted_;
}

}  // namespace packetdb::host
