// A process that reads a journal again and again, whatever happens to it meanwhile.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/record_file.h"
#include "tests/faults/death/traffic.h"
#include "tests/support/seed.h"

namespace packetdb::faults {

// Records of any file of the traffic that are certainly there while they are the newest.
inline constexpr std::uint64_t kFewestKept = 100;

class Reader {
 public:
  Reader(FileOptions options, Traffic& traffic, std::uint32_t seed)
      : options_(std::move(options)), traffic_(traffic), random_(seed) {}

  // Never returns.
  [[noreturn]] void ReadForEver();

 private:
  void Pass();
  void OpenFresh();
  void ReadAll(int count);
  int ReadSome(int position, int count);
  void Judge(const unsigned char* record, int position);
  void JudgeVersion(const Identity& identity);
  void JudgeEmpty();
  void JudgeGone(int position, int count);
  void Wrong(const std::string& what);

  FileOptions options_;
  Traffic& traffic_;
  test::Random random_;
  CDbFile file_;
  bool fresh_ = false;
  // What was known before the file was opened: it must show at least that.
  std::uint64_t next_before_ = 0;
  std::vector<std::uint64_t> versions_before_;
  // Number of the record at position 0, once one was read.
  std::optional<std::uint64_t> first_number_;
  // Number behind the newest record that this opening has shown.
  std::uint64_t shown_ = 0;
};

}  // namespace packetdb::faults
