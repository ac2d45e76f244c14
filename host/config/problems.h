// What is wrong with the files of a configuration, and where. Everything is gathered before
// anything is reported, so that one look mends it all.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace packetdb::host {

struct Place {
  std::size_t file = 0;      // as Problems::AddFile numbered it
  std::uint32_t line = 0;    // from 1; 0: the file as a whole
  std::uint32_t column = 0;  // from 1, in characters
};

class Problems {
 public:
  // Numbers the files in the order in which their problems are shown.
  std::size_t AddFile(std::string path);
  void Add(const Place& place, std::string text);

  bool empty() const { return found_.empty(); }
  // "FILE:LINE:COLUMN", without what is 0.
  std::string Show(const Place& place) const;
  // "FILE:LINE:COLUMN: TEXT" each, by file, line and column. Beyond kMostProblems a last line says
  // how many there are besides.
  std::vector<std::string> Lines() const;

 private:
  struct Problem {
    Place place;
    std::string text;
  };

  std::vector<std::string> files_;
  std::vector<Problem> found_;
  std::size_t not_kept_ = 0;
};

// A file of 100,000 networks may have as many problems.
inline constexpr std::size_t kMostProblems = 1000;

}  // namespace packetdb::host
