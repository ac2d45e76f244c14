// Writes the files that fuzzing begins with into a folder: what a writer leaves, in each format,
// with and without a bound, closed and after its death.
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "fuzz/journal_description.h"
#include "host/record_file/layout.h"
#include "packetdb/journal_format.h"
#include "platform/record_file.h"

namespace packetdb::fuzz {
namespace {

constexpr int kWriteAnew = 3;

struct Seed {
  std::string name;
  std::string magic;
  std::uint64_t record_size;
  std::uint64_t capacity;  // 0: no bound
  int appended;
  bool died;
};

Bytes Read(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

Bytes Make(const Seed& seed, const std::string& path) {
  const unsigned long capacity = seed.capacity == 0 ? ~0UL : seed.capacity;
  CDbFile file;
  if (file.Init(path, seed.magic.c_str(), seed.record_size, capacity, kWriteAnew) < 0) return {};
  for (int i = 0; i < seed.appended; ++i) {
    file.AppendRecord(Bytes(seed.record_size, static_cast<std::uint8_t>('a' + i)).data());
  }
  if (seed.appended > 0) file.WriteRecord(seed.appended - 1, Bytes(seed.record_size, 'o').data());
  if (!seed.died) file.Done();
  Bytes bytes = Read(path);
  // A file without a bound may have any length, and short ones are soon tried.
  if (seed.capacity == 0) bytes.resize(host::kCellsOffset + host::kPageSize);
  return bytes;
}

int MakeAll(const std::string& folder) {
  const std::string path = folder + "/journal";
  for (const Seed& seed : {
           Seed{"empty", kJournalMagic, kJournalRecordSize, 3, 0, false},
           Seed{"closed", kJournalMagic, kJournalRecordSize, 3, 5, false},
           Seed{"died", kJournalMagic, kJournalRecordSize, 3, 5, true},
           Seed{"growing_closed", kJournalMagic, kJournalRecordSize, 0, 6, false},
           Seed{"growing_died", kJournalMagic, kJournalRecordSize, 0, 6, true},
           Seed{"growing_format_3", kFormat3Magic, kFormat3RecordSize, 0, 3, false},
           Seed{"growing_format_41", kJournalMagic, kFormat41RecordSize, 0, 3, false},
           Seed{"odd", "odd", 504, 2, 3, false},
       }) {
    const Bytes bytes = Make(seed, path);
    std::filesystem::remove(path);
    if (bytes.empty()) return 1;
    const Bytes data = Serialize(Describe(bytes, seed.died ? kThisBoot : 0));
    std::ofstream out(folder + "/" + seed.name, std::ios::binary);
    out.write(reinterpret_cast<const char*>(data.data()),
              static_cast<std::streamsize>(data.size()));
    if (!out.flush()) return 1;
  }
  return 0;
}

}  // namespace
}  // namespace packetdb::fuzz

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: %s FOLDER\n", argv[0]);
    return 2;
  }
  return packetdb::fuzz::MakeAll(argv[1]);
}
