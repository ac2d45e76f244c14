// A capture file to events.
#include <sys/mman.h>
#include <unistd.h>

#include "fuzz/promise.h"
#include "fuzz/target.h"
#include "host/sources/capture_reader.h"

namespace packetdb::fuzz {
namespace {

// A file in memory that always is the input.
class InputFile {
 public:
  InputFile() : fd_(memfd_create("input", MFD_CLOEXEC)) { Require(fd_ >= 0, "a file in memory"); }
  ~InputFile() { close(fd_); }
  InputFile(const InputFile&) = delete;
  InputFile& operator=(const InputFile&) = delete;

  std::string path() const { return "/proc/self/fd/" + std::to_string(fd_); }
  void Fill(const std::uint8_t* data, std::size_t size) const {
    Require(ftruncate(fd_, 0) == 0, "the file can be emptied");
    Require(pwrite(fd_, data, size, 0) == static_cast<ssize_t>(size), "the file can be written");
  }

 private:
  int fd_;
};

struct Outcome {
  host::CaptureCounters counters;
  std::uint64_t events = 0;
  std::uint32_t sum = 0;  // of something of each event
  std::string failure;
};

void CheckEvent(const host::Event& event) {
  Require(event.interface == "capture" || event.interface.starts_with("if"),
          "an event names its interface");
  Require(event.time <= host::kLatestTime && event.nanoseconds < 1'000'000'000,
          "a time can be asked for");
  Require(event.item.m_Count == 1 && event.item.m_ErrorCode != 0, "an event has a code");
}

Outcome ReadAll(const std::string& path) {
  host::CaptureReader reader(path, {});
  Outcome outcome;
  while (const auto event = reader.Next()) {
    CheckEvent(*event);
    ++outcome.events;
    outcome.sum = outcome.sum * 31 + event->item.m_SrcIp + event->item.m_SrcPort;
  }
  outcome.counters = reader.counters();
  if (reader.failure()) outcome.failure = reader.failure()->text;
  return outcome;
}

}  // namespace

void TryInput(const std::uint8_t* data, std::size_t size) {
  static const InputFile file;
  file.Fill(data, size);
  const Outcome outcome = ReadAll(file.path());
  const host::CaptureCounters& counters = outcome.counters;
  Require(counters.events() == outcome.events, "each event is counted");
  Require(counters.packets() == counters.events() + counters.skipped(),
          "a packet is an event or has a reason");
  Require(outcome.failure.find('\n') == std::string::npos, "a failure is a line");
  const Outcome again = ReadAll(file.path());
  Require(again.events == outcome.events && again.sum == outcome.sum &&
              again.failure == outcome.failure,
          "a file is read the same each time");
}

}  // namespace packetdb::fuzz
