// Files that nobody but their owner has any business with, and what becomes of them.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tests/faults/limits/verdict.h"

namespace packetdb::faults {

// Of the interface and of each record in what must not be shown to anybody.
inline constexpr char kSecretInterface[] = "secret0";
inline constexpr std::uint16_t kSecretWord = 0x5EC7;

class Victims {
 public:
  // Makes a folder with a sound journal, catalogue and rule dictionary, a text, a stale socket and
  // an empty folder.
  explicit Victims(const std::string& folder);

  std::string journal() const { return folder_ + "/secret.journal"; }
  std::string catalogue() const { return folder_ + "/secret.group"; }
  std::string dictionary() const { return folder_ + "/rules.dictionary"; }
  std::string text() const { return folder_ + "/text"; }
  std::string socket() const { return folder_ + "/socket"; }
  std::string empty_folder() const { return folder_ + "/empty"; }

  // Requires that they are what they were: names, bytes, modes, owners, times of change.
  void RequireUntouched(const std::string& when, Verdict* verdict) const;

 private:
  struct Seen {
    std::string path;
    std::string facts;
    bool operator==(const Seen&) const = default;
  };
  std::vector<Seen> Look() const;

  std::string folder_;
  std::vector<Seen> before_;
};

}  // namespace packetdb::faults
