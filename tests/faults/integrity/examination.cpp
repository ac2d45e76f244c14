#include "tests/faults/integrity/examination.h"

#include <algorithm>

#include "host/record_file/check.h"
#include "host/record_file/descriptor.h"
#include "host/record_file/open.h"
#include "platform/record_file.h"

namespace packetdb::faults {
namespace {

class Reader {
 public:
  Reader(CDbFile& file, const History& history)
      : file_(file),
        history_(history),
        count_(file.RecordCount()),
        size_(history.recipe().record_size),
        records_(static_cast<std::size_t>(std::max(count_, 1)) * size_) {}

  Reading Run() {
    expected_ = history_.live().begin;
    for (int position = 0; position < count_;) position = ReadFrom(position);
    MissUpTo(history_.live().end);
    return reading_;
  }

 private:
  // Where to go on.
  int ReadFrom(int position) {
    const int got = file_.ReadRecords(position, records_.data(), count_ - position);
    for (int i = 0; i < got; ++i) Judge(records_.data() + static_cast<std::size_t>(i) * size_);
    position += std::max(got, 0);
    if (position == count_) return position;
    // What stopped a reading of many is refused by itself as well.
    if (file_.ReadRecord(position, records_.data()) < 0) {
      ++reading_.refused;
    } else {
      ++reading_.wrong;
    }
    return position + 1;
  }

  void Judge(const std::byte* record) {
    std::uint64_t sequence = 0;
    if (!history_.IsCurrent(record, &sequence) || sequence < least_) {
      ++reading_.wrong;
      return;
    }
    least_ = sequence + 1;
    if (sequence < history_.live().begin) {
      ++reading_.older;
      return;
    }
    MissUpTo(sequence);
    ++expected_;
    ++reading_.served;
  }

  void MissUpTo(std::uint64_t sequence) {
    for (; expected_ < sequence; ++expected_) reading_.missing.push_back(expected_);
  }

  CDbFile& file_;
  const History& history_;
  int count_;
  std::uint64_t size_;
  std::vector<std::byte> records_;
  Reading reading_;
  std::uint64_t expected_ = 0;  // the next live record
  std::uint64_t least_ = 0;     // what the next record's number must not be below
};

}  // namespace

Reading ReadOpen(CDbFile& file, const History& history) { return Reader(file, history).Run(); }

Reading ReadAll(const std::string& path, const History& history, int mode) {
  const Recipe& recipe = history.recipe();
  CDbFile file;
  const int result =
      file.Init(path, recipe.magic.c_str(), recipe.record_size, recipe.MaxRecords(), mode);
  Reading reading = ReadOpen(file, history);
  reading.result = result;
  return reading;
}

Examined Examine(const std::string& path) {
  Examined examined;
  host::Descriptor file;
  examined.result = host::OpenUnlocked(path, host::Access::kRead, &file);
  if (examined.result < 0) return examined;
  examined.result = host::CheckRecordFile(file, [&](const host::Finding& finding) {
    if (finding.severity == host::Severity::kNote) return;
    std::uint64_t& count =
        finding.severity == host::Severity::kDamage ? examined.damage : examined.warnings;
    if (examined.IsClean()) examined.first = finding.text;
    ++count;
  });
  return examined;
}

}  // namespace packetdb::faults
