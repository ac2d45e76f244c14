// Journals of an earlier format, and whether a conversion left them alone or got all of them.
#pragma once

#include <string>
#include <string_view>

#include "tests/faults/limits/verdict.h"

namespace packetdb::faults {

enum class OldFormat { k3, k41 };
std::string NameOf(OldFormat format);

class OldJournal {
 public:
  // Makes a closed one with so many records, and remembers its bytes. Throws when that fails.
  OldJournal(std::string path, OldFormat format, int records);

  // Converts it as our programs do, which look for room first. Returns the error, empty after
  // success.
  std::string Convert() const;
  // Converts it as the library does that is given the journal alone.
  std::string ConvertByLibrary() const;

  // Requires that it is there as it was, byte for byte.
  void RequireUntouched(const std::string& when, Verdict* verdict) const;
  // Requires that the converted one is there instead, with every record.
  void RequireConverted(const std::string& when, Verdict* verdict) const;

 private:
  std::string RecordOf(int number) const;

  const std::string path_;
  const OldFormat format_;
  const int records_;
  std::string bytes_;
};

}  // namespace packetdb::faults
