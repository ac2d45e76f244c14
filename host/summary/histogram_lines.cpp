#include "host/summary/histogram_lines.h"

#include <algorithm>
#include <utility>

namespace packetdb::host {
namespace {

constexpr std::size_t kBinBytes = sizeof(std::uint64_t);  // in front of the value in a key

class LineMaker {
 public:
  LineMaker(const std::vector<Group>& values, Bins* bins)
      : values_(values), bins_(bins), of_values_(values.size() + 1) {}

  void Add(const KeyBytes* key, const Sums& sums) {
    const std::int64_t start = KeyLayout::BinOf(key);
    if (has_bin_ && start != start_) EndBin(start);
    has_bin_ = true;
    start_ = start;
    of_values_[PlaceOf(key + kBinBytes)].Add(sums);
  }
  std::vector<HistogramLine> Finish() {
    if (has_bin_) Flush();
    return std::move(lines_);
  }

 private:
  std::size_t PlaceOf(const KeyBytes* value) const {
    const auto is_same = [&](const Group& group) {
      return std::equal(group.key.begin(), group.key.end(), value);
    };
    return static_cast<std::size_t>(std::find_if(values_.begin(), values_.end(), is_same) -
                                    values_.begin());
  }

  void EndBin(std::int64_t next) {
    Flush();
    for (start_ = bins_->NextStart(start_); start_ < next; start_ = bins_->NextStart(start_)) {
      lines_.push_back({start_, kNoValue, {}});
    }
  }

  void Flush() {
    for (std::size_t place = 0; place < of_values_.size(); ++place) {
      Sums& sums = of_values_[place];
      const std::size_t value = place < values_.size() ? place : kOtherValues;
      if (sums.events != 0) lines_.push_back({start_, value, sums});
      sums = {};
    }
  }

  const std::vector<Group>& values_;
  Bins* bins_;
  bool has_bin_ = false;
  std::int64_t start_ = 0;
  std::vector<Sums> of_values_;  // in this bin; the others behind them
  std::vector<HistogramLine> lines_;
};

}  // namespace

std::vector<HistogramLine> LinesOf(Groups* in_bins, const std::vector<Group>& values, Bins* bins) {
  LineMaker maker(values, bins);
  in_bins->Visit([&](const KeyBytes* key, const Sums& sums) { maker.Add(key, sums); });
  return maker.Finish();
}

}  // namespace packetdb::host
