// What is done to a journal while its file system is shut down, and what has to be there then.
#pragma once

#include <memory>
#include <string>
#include <vector>

namespace packetdb::faults {

// How far the one who does it has come, in memory that survives him.
struct Progress {
  bool is_created = false;
  bool is_closed = false;
};

class Scenario {
 public:
  explicit Scenario(std::string name) : name_(std::move(name)) {}
  Scenario(const Scenario&) = delete;
  Scenario& operator=(const Scenario&) = delete;
  virtual ~Scenario() = default;

  const std::string& name() const { return name_; }
  // What is there before, all of it on the disk.
  virtual void Prepare(const std::string& folder) = 0;
  virtual void Act(const std::string& folder, volatile Progress& progress) = 0;
  // One line for each broken promise.
  virtual std::vector<std::string> Judge(const std::string& folder, const Progress& progress) = 0;

 private:
  const std::string name_;
};

// Creating, filling and closing a journal; opening, filling and closing one; giving it room for
// fewer and for more records; converting one of each earlier format.
std::vector<std::unique_ptr<Scenario>> AllScenarios();

}  // namespace packetdb::faults
