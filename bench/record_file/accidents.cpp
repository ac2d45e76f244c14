#include "bench/record_file/accidents.h"

#include <csignal>
#include <cstddef>
#include <exception>
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include "bench/stores/journal.h"
#include "bench/stores/variant.h"
#include "host/record_file/layout.h"
#include "host/record_file/modes.h"

namespace packetdb::bench {
namespace {

// More than a recovery in the same boot ever looks at, so that it has all its work to do.
constexpr int kLastRecords = 10'000;

class File {
 public:
  File(const std::string& path, int flags) : fd_(open(path.c_str(), flags | O_CLOEXEC)) {
    Require(fd_ >= 0, "accident: cannot open the journal");
  }
  File(const File&) = delete;
  File& operator=(const File&) = delete;
  ~File() { close(fd_); }
  int fd() const { return fd_; }

 private:
  int fd_;
};

void WriteUntilKilled(const std::string& path, std::uint64_t capacity) {
  CDbFile file;
  OpenJournal(path, capacity, host::mode::kWrite, host::RecordFileSettings(), &file);
  int ticket = -1;
  for (int i = 0; i < kLastRecords; ++i) {
    const Record record = MakeRecord(static_cast<std::uint64_t>(i));
    ticket = file.AppendRecord(&record);
    Require(ticket >= 0 && file.WriteRecord(ticket, &record) >= 0, "accident: cannot write");
  }
  kill(getpid(), SIGKILL);
}

host::StatePage StateOf(const File& file) {
  host::StatePage state = {};
  Require(pread(file.fd(), &state, sizeof state, host::kStateOffset) == sizeof state,
          "accident: cannot read the state page");
  return state;
}

}  // namespace

void KillWriter(const std::string& path, std::uint64_t capacity) {
  const pid_t child = fork();
  Require(child >= 0, "accident: cannot fork");
  if (child == 0) {
    try {
      WriteUntilKilled(path, capacity);
    } catch (const std::exception&) {
      // The exit status tells.
    }
    _exit(1);
  }
  int status = 0;
  const bool is_waited_for = waitpid(child, &status, 0) == child;
  Require(is_waited_for && WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL,
          "accident: the writer did not die as it should");
}

void CutPower(const std::string& path) {
  const File file(path, O_RDWR);
  host::StatePage state = StateOf(file);
  Require(state.state == host::kOpen, "accident: the journal is closed");
  for (auto& byte : state.boot_id) byte = static_cast<std::uint8_t>(~byte);
  constexpr off_t kBootIdOffset = host::kStateOffset + offsetof(host::StatePage, boot_id);
  Require(pwrite(file.fd(), state.boot_id.data(), host::kBootIdSize, kBootIdOffset) ==
              ssize_t{host::kBootIdSize},
          "accident: cannot change the boot");
}

std::uint32_t Searches(const std::string& path) { return StateOf(File(path, O_RDONLY)).generation; }

void DropFromMemory(const std::string& path) {
  const File file(path, O_RDONLY);
  // What is not on the disk yet stays in memory.
  Require(fdatasync(file.fd()) == 0 && posix_fadvise(file.fd(), 0, 0, POSIX_FADV_DONTNEED) == 0,
          "accident: cannot drop the journal from memory");
}

}  // namespace packetdb::bench
