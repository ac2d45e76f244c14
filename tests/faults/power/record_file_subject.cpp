#include <fcntl.h>
#include <fmt/format.h>
#include <stdexcept>
#include <unistd.h>

#include "host/record_file/descriptor.h"
#include "host/record_file/modes.h"
#include "host/record_file/probe.h"
#include "host/record_file/result.h"
#include "platform/record_file.h"
#include "tests/faults/power/state_page.h"
#include "tests/faults/power/subject.h"

namespace packetdb::faults {
namespace {

constexpr const char* kMagic = "power cut";

int Check(int result, const char* what) {
  if (result >= 0) return result;
  throw std::runtime_error(
      fmt::format("{}: {} ({})", what, host::DescribeRecordFileResult(result), result));
}

// Positions move up when a record turns out to be damaged, which is then no longer counted.
Found ReadAll(CDbFile& file) {
  Found found;
  for (int position = 0; position < file.RecordCount();) {
    Record record;
    const int count = file.RecordCount();
    if (file.ReadRecord(position, record.data()) < 0) {
      ++found.refused;
      position += file.RecordCount() == count ? 1 : 0;
      continue;
    }
    const std::optional<Label> label = ParseRecord(record.data());
    if (label) found.records.push_back(*label);
    found.garbage += label ? 0 : 1;
    ++position;
  }
  return found;
}

Found ReadWith(const std::string& path, int mode, unsigned long capacity) {
  CDbFile file;
  const int result = file.Init(path, kMagic, kRecordSize, capacity, mode);
  Found found = result < 0 ? Found{} : ReadAll(file);
  found.result = result < 0 ? result : 0;
  return found;
}

class RecordFile : public Subject {
 public:
  void Open(const std::string& path, std::uint64_t capacity) override {
    capacity_ = capacity;
    Check(file_.Init(path, kMagic, kRecordSize, capacity,
                     host::mode::kWrite | host::mode::kCreateMissing),
          "opening the journal");
    // Of its own, as whoever flushes from another thread has.
    flushed_ = host::Descriptor(open(path.c_str(), O_RDWR | O_CLOEXEC));
    if (!flushed_.IsOpen()) throw std::runtime_error("the journal cannot be opened twice");
  }

  int Append(const Record& record) override {
    return Check(file_.AppendRecord(record.data()), "appending");
  }

  void Overwrite(int ticket, const Record& record) override {
    Check(file_.WriteRecord(ticket, record.data()), "overwriting");
  }

  void Nudge() override { sync_file_range(flushed_.get(), 0, 0, SYNC_FILE_RANGE_WRITE); }

  // Now by ourselves, and now by leaving it to the thread that does it in the background.
  void Flush() override {
    constexpr unsigned int kOwnOf = 3;
    if (flushes_++ % kOwnOf == 0 && WaitForBackgroundFlush(flushed_.get())) return;
    if (fdatasync(flushed_.get()) != 0) throw std::runtime_error("flushing failed");
  }

  Found Contents() override { return ReadAll(file_); }

  void Close() override {
    file_.Done();
    flushed_ = {};
  }

  Found Read(const std::string& path) override {
    return ReadWith(path, host::mode::kRead, capacity_);
  }

  // With the capacity that the file has: the power may have gone while it was being changed.
  Found Recover(const std::string& path) override {
    host::RecordFileInfo info;
    const int result = host::ProbeRecordFile(path, &info);
    if (result < 0) return {.result = result, .records = {}};
    return ReadWith(path, host::mode::kWrite, info.capacity);
  }

 private:
  CDbFile file_;
  host::Descriptor flushed_;
  unsigned long capacity_ = 0;
  unsigned int flushes_ = 0;
};

}  // namespace

std::unique_ptr<Subject> MakeRecordFile() { return std::make_unique<RecordFile>(); }

}  // namespace packetdb::faults
