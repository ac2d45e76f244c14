#include "host/summary/groups.h"

#include <algorithm>
#include <utility>

namespace packetdb::host {

Groups::Groups(KeyFields fields, bool has_bin, std::size_t most_keys)
    : layout_(std::move(fields), has_bin),
      table_(layout_, std::max<std::size_t>(most_keys, 1)),
      runs_(layout_),
      key_(layout_.size()) {}

void Groups::Add(const Row& row, std::int64_t bin) {
  const Sums sums = SumsOf(row.event);
  total_.Add(sums);
  layout_.Pack(row, bin, key_.data());
  Sums* of_key = table_.At(key_.data());
  if (of_key == nullptr) {
    Spill();
    of_key = table_.At(key_.data());
  }
  of_key->Add(sums);
}

void Groups::Visit(const GroupVisitor& visit) {
  if (!runs_.empty()) {
    if (table_.size() != 0) Spill();
    return runs_.Merge(visit);
  }
  table_.Sort();
  for (std::size_t place = 0; place < table_.size(); ++place) {
    visit(table_.KeyAt(place), table_.SumsAt(place));
  }
}

void Groups::Spill() {
  table_.Sort();
  runs_.Write(table_);
  table_.Clear();
}

std::vector<Group> LargestGroups(Groups* groups, SumKind kind, std::size_t most) {
  const KeyLayout& layout = groups->layout();
  const auto is_larger = [&](const Group& a, const Group& b) {
    const std::uint64_t of_a = a.sums.Of(kind);
    const std::uint64_t of_b = b.sums.Of(kind);
    return of_a != of_b ? of_a > of_b : layout.IsBefore(a.key.data(), b.key.data());
  };
  std::vector<Group> largest;  // a heap with the smallest in front
  groups->Visit([&](const KeyBytes* key, const Sums& sums) {
    // Keys come in their order: one with the same sum stands behind those that are there.
    const bool is_full = largest.size() >= most;
    if (is_full && (most == 0 || sums.Of(kind) <= largest.front().sums.Of(kind))) return;
    if (is_full) {
      std::pop_heap(largest.begin(), largest.end(), is_larger);
      largest.pop_back();
    }
    largest.push_back({{key, key + layout.size()}, sums});
    std::push_heap(largest.begin(), largest.end(), is_larger);
  });
  std::sort_heap(largest.begin(), largest.end(), is_larger);
  return largest;
}

}  // namespace packetdb::host
