// One pwrite per record into a file that nothing else is known about: the least that a program can
// do for a record to outlive it. No checksum, no order, no bound.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "bench/stores/variant.h"
#include "bench/support/record.h"

namespace packetdb::bench {

class PlainFileStore {
 public:
  struct Options {
    bool syncs_each = false;
  };
  static std::vector<Variant<PlainFileStore>> Variants();

  PlainFileStore(const std::string& path, const Options& options);
  PlainFileStore(const PlainFileStore&) = delete;
  PlainFileStore& operator=(const PlainFileStore&) = delete;
  ~PlainFileStore();

  void Fill(std::uint64_t count);
  void Append(const Record& record);
  void Overwrite(std::uint64_t position, const Record& record);
  void Read(std::uint64_t position, Record* record) { ReadMany(position, record, 1); }
  void ReadMany(std::uint64_t first, Record* records, int count);
  void Finish() {}

 private:
  void Write(std::uint64_t position, const Record& record);

  Options options_;
  int fd_ = -1;
  std::uint64_t count_ = 0;
};

}  // namespace packetdb::bench
