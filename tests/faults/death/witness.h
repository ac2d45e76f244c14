// Judges the states that a stepped operation goes through.
#pragma once

#include <string>

#include "tests/faults/death/folder_watch.h"
#include "tests/faults/death/scenario.h"
#include "tests/faults/death/violations.h"

namespace packetdb::faults {

struct Found {
  Opened read;     // by a reader
  Opened written;  // then by the next writer
};

class Witness {
 public:
  // States are copied to the folder `scratch` before anything touches them.
  Witness(const Scenario& scenario, std::string name, std::string scratch, Violations& violations);

  // Opens a copy of what `watch` saw last, and compares. Once a stage was reached, no earlier one
  // may come back; when the operation has `returned`, it is the last.
  Found Judge(const FolderWatch& watch, bool returned);

 private:
  struct Progress {
    const char* who;
    const std::vector<Opened>* stages;
    std::size_t reached;
  };

  void Compare(Progress& progress, const Opened& found, bool returned);
  void CreateAnew();
  void CountLosses(const Opened& written);
  void JudgeAfterRestart(const FolderWatch& watch, const Found& found);

  std::string name_;
  std::string scratch_;
  FileOptions copy_;
  int writer_mode_;
  Progress reader_;
  Progress writer_;
  Violations& violations_;
};

}  // namespace packetdb::faults
