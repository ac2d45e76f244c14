// The golden files of today's layout: how each is made, so that it can be made again and compared.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tests/faults/integrity/patched_file.h"

namespace packetdb::faults {

struct GoldenRecipe {
  std::string name;  // of the file in the folder, without its ending
  std::string magic;
  std::uint64_t record_size;
  std::uint64_t capacity;        // 0: no bound
  std::uint64_t first_sequence;  // of the first record
  std::uint64_t appended;
  std::uint64_t overwritten;  // the newest so many, oldest first
  bool died;                  // the writer, in the middle of the last overwrite, in another boot
  bool converts;              // to today's format when it is opened as a journal
};

const std::vector<GoldenRecipe>& GoldenRecipes();

// Makes the file at `path`. Its id and its times are new each time.
Bytes MakeGolden(const GoldenRecipe& recipe, const std::string& path);

// Gives a closed file the id, times, boot and process of another one; all checksums go with it.
void Dress(const Bytes& like, Bytes* bytes);

}  // namespace packetdb::faults
