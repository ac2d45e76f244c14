// A journal that is written, killed, resized and made anew while others read it, and what readers
// may find in it at any moment.
#pragma once

#include <atomic>
#include <cstdint>
#include <optional>
#include <vector>

#include "tests/faults/death/shared_memory.h"
#include "tests/faults/death/view.h"

namespace packetdb::faults {

// Record numbers of a file begin with its generation, so that they only ever ascend at a path. A
// number fits 48 bits and a version 16, which no run comes near.
inline constexpr std::uint64_t kNumbersPerFile = std::uint64_t{1} << 28U;

// The newest version of each of the newest records, by number.
class Versions {
 public:
  static constexpr std::size_t kRemembered = 4096;

  void Note(const Identity& identity) { words_[At(identity.number)] = Word(identity); }
  // Nothing when a newer record has taken the number's place.
  std::optional<std::uint64_t> Of(std::uint64_t number) const;
  // As it is now.
  std::vector<std::uint64_t> Copy() const;
  static std::optional<std::uint64_t> InCopy(const std::vector<std::uint64_t>& copy,
                                             std::uint64_t number);

 private:
  static constexpr unsigned int kVersionBits = 16;

  static std::size_t At(std::uint64_t number) { return number % kRemembered; }
  static std::uint64_t Word(const Identity& identity) {
    return identity.number << kVersionBits | identity.version;
  }
  static std::optional<std::uint64_t> Decode(std::uint64_t word, std::uint64_t number);

  SharedMemory<std::atomic<std::uint64_t>> words_{kRemembered};
};

// Shared by the writers, one after the other, and the readers.
struct Traffic {
  struct Words {
    std::atomic<std::uint64_t> next;       // below it all appends have returned
    std::atomic<std::uint64_t> announced;  // generation of the newest file that is being made
    std::atomic<std::uint64_t> written;    // operations that returned
    std::atomic<std::uint64_t> passes;     // of readers through a file
    std::atomic<std::uint64_t> verified;   // records that readers found right
    std::atomic<std::uint64_t> overtaken;  // records that were gone before a reader came to them
    std::atomic<std::uint64_t> wrong;      // findings of readers that must not be
    std::atomic<std::uint64_t> lost;       // acknowledged records that a writer missed
  };

  SharedMemory<Words> words;
  Versions versions;
};

}  // namespace packetdb::faults
