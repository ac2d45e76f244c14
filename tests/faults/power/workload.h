// What a journal goes through before the power is cut.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "tests/faults/power/record.h"
#include "tests/faults/power/subject.h"
#include "tests/support/seed.h"

namespace packetdb::faults {

// A moment at which the journal has said that everything is on the disk.
struct Mark {
  std::uint64_t begin = 0;     // the oldest record that counts
  std::uint64_t capacity = 0;  // how many count at most
  std::vector<Label> changes;  // records appended or overwritten since the last mark
};

struct WorkloadPlan {
  int rounds = 60;      // each ends with a flush
  bool resizes = true;  // changes the capacity now and then
};

class Workload {
 public:
  // `subject` outlives the object. `note` is called at every mark.
  Workload(Subject& subject, std::string path, std::uint32_t seed,
           std::function<void(const Mark&)> note)
      : subject_(subject), path_(std::move(path)), random_(seed), note_(std::move(note)) {}

  // Creates the journal, uses it for some laps of its ring, and closes it.
  void Run(const WorkloadPlan& plan);

 private:
  void Open();
  void Note();
  void Change(std::uint32_t operations);
  void Append();
  void Overwrite();
  std::uint32_t DrawOperations();

  Subject& subject_;
  const std::string path_;
  test::Random random_;
  const std::function<void(const Mark&)> note_;
  std::uint64_t capacity_ = 3000;
  std::uint64_t begin_ = 0;
  std::uint64_t next_ = 0;
  std::vector<Label> session_;  // records appended since the journal was opened
  std::vector<int> tickets_;    // theirs
  std::vector<Label> changes_;
};

}  // namespace packetdb::faults
