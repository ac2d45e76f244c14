// What is cut off from power: a journal that is appended to and overwritten, and read afterwards.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "tests/faults/power/promise.h"
#include "tests/faults/power/record.h"

namespace packetdb::faults {

// Every operation throws std::runtime_error when it fails, which no power cut explains.
class Subject {
 public:
  Subject() = default;
  Subject(const Subject&) = delete;
  Subject& operator=(const Subject&) = delete;
  virtual ~Subject() = default;

  // Opens the journal for writing, after creating it when it is missing.
  virtual void Open(const std::string& path, std::uint64_t capacity) = 0;
  // Returns the ticket of the record, good until the journal is closed.
  virtual int Append(const Record& record) = 0;
  virtual void Overwrite(int ticket, const Record& record) = 0;
  // Lets the disk have what it likes, without any promise.
  virtual void Nudge() = 0;
  // Everything is on the disk when it returns.
  virtual void Flush() = 0;
  // What is there now.
  virtual Found Contents() = 0;
  // Flushes as well.
  virtual void Close() = 0;

  // What is there for one who opens it only to read, and for a writer, who may repair it; no
  // journal may be open.
  virtual Found Read(const std::string& path) = 0;
  virtual Found Recover(const std::string& path) = 0;
};

std::unique_ptr<Subject> MakeRecordFile();

// A control: frames that follow each other without regard to sectors, so that a power cut tears
// those that straddle two.
std::unique_ptr<Subject> MakePackedRing();

}  // namespace packetdb::faults
