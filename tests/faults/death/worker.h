// The writers of a journal under traffic, each of which ends or is killed in the middle.
#pragma once

#include "platform/record_file.h"
#include "tests/faults/death/traffic.h"
#include "tests/support/seed.h"

namespace packetdb::faults {

// What a writer does besides appending and overwriting at full speed.
enum class Habit { kStays, kReopens, kResizes, kMakesAnew };

class Worker {
 public:
  Worker(FileOptions options, Habit habit, Traffic& traffic, std::uint32_t seed)
      : options_(std::move(options)), habit_(habit), traffic_(traffic), random_(seed) {}

  // Until it is killed. Returns the status of the operation that was refused.
  int WorkForEver();
  // So many operations, then it closes the file. Returns 0, or the status of what was refused.
  int Work(std::uint64_t operations);

 private:
  int Reopen();
  int OpenIt(int mode);
  void TakeOver();
  int Operate();
  int AppendNext();
  int OverwriteRecent();

  FileOptions options_;
  Habit habit_;
  Traffic& traffic_;
  test::Random random_;
  CDbFile file_;
  std::uint64_t next_ = 0;   // number of the next append
  std::uint64_t first_ = 0;  // of this file's first record
};

}  // namespace packetdb::faults
