#include "tests/faults/power/marks.h"

#include <algorithm>
#include <stdexcept>

namespace packetdb::faults {
namespace {

struct Head {
  std::uint64_t log_size;
  std::uint64_t begin;
  std::uint64_t capacity;
  std::uint64_t changes;
};

std::streamsize BytesOf(const std::vector<Label>& labels) {
  return static_cast<std::streamsize>(labels.size() * sizeof(Label));
}

void Apply(const std::vector<Label>& changes, Versions* versions) {
  for (const Label& label : changes) {
    if (label.ordinal >= versions->begin()) versions->Set(label.ordinal, label.version);
  }
}

}  // namespace

MarkWriter::MarkWriter(const std::string& path) : file_(path, std::ios::binary) {}

void MarkWriter::Add(const PlacedMark& placed) {
  const Mark& mark = placed.mark;
  const Head head = {placed.log_size, mark.begin, mark.capacity, mark.changes.size()};
  file_.write(reinterpret_cast<const char*>(&head), sizeof head);
  file_.write(reinterpret_cast<const char*>(mark.changes.data()), BytesOf(mark.changes));
  if (!file_.flush()) throw std::runtime_error("a mark cannot be written");
}

std::vector<PlacedMark> ReadMarks(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::vector<PlacedMark> marks;
  for (Head head = {}; file.read(reinterpret_cast<char*>(&head), sizeof head);) {
    PlacedMark placed = {head.log_size, {head.begin, head.capacity, {}}};
    placed.mark.changes.resize(head.changes);
    file.read(reinterpret_cast<char*>(placed.mark.changes.data()), BytesOf(placed.mark.changes));
    marks.push_back(std::move(placed));
  }
  return marks;
}

Promise PromiseAt(const std::vector<PlacedMark>& marks, std::uint64_t cut, Judged judged) {
  const auto later = std::find_if(marks.begin(), marks.end(), [cut](const PlacedMark& placed) {
    return placed.log_size > cut;
  });
  // What was under way at the cut belongs to the mark behind it.
  const auto written = later == marks.end() ? later : later + 1;
  const auto acknowledged = judged == Judged::kNextMark ? written : later;
  Promise promise;
  promise.capacity = std::prev(acknowledged)->mark.capacity;
  for (auto it = marks.begin(); it != written; ++it) {
    Apply(it->mark.changes, &promise.written);
    if (it >= acknowledged) promise.capacity = std::min(promise.capacity, it->mark.capacity);
    if (it >= acknowledged) continue;
    promise.acknowledged.DropBelow(it->mark.begin);
    Apply(it->mark.changes, &promise.acknowledged);
  }
  return promise;
}

}  // namespace packetdb::faults
