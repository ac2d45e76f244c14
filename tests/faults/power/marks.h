// The marks of a writer in another process, each with how far the log of the disk was then.
#pragma once

#include <cstdint>
#include <fstream>
#include <string>
#include <vector>

#include "tests/faults/power/promise.h"
#include "tests/faults/power/workload.h"

namespace packetdb::faults {

struct PlacedMark {
  std::uint64_t log_size = 0;
  Mark mark;
};

class MarkWriter {
 public:
  explicit MarkWriter(const std::string& path);
  void Add(const PlacedMark& placed);

 private:
  std::ofstream file_;
};

std::vector<PlacedMark> ReadMarks(const std::string& path);

enum class Judged { kNewestMark, kNextMark };

// What a journal owes after a cut that left the first `cut` events of the log: what it had said by
// then. As a control, what it said only afterwards. `marks` are not empty, and the first was before
// the cut.
Promise PromiseAt(const std::vector<PlacedMark>& marks, std::uint64_t cut, Judged judged);

}  // namespace packetdb::faults
