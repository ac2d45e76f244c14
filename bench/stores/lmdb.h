// LMDB: a tree of records by position in a mapped file.
//
// As SQLite it gets its best case: keys that are integers, appending at the right-hand edge without
// a search, no bound, and pages written in place in the mapping.
#pragma once

#include <cstdint>
#include <lmdb.h>
#include <memory>
#include <string>
#include <vector>

#include "bench/stores/variant.h"
#include "bench/support/record.h"

namespace packetdb::bench {

class LmdbStore {
 public:
  struct Options {
    unsigned int flags = 0;  // of mdb_env_open
    int batch = 1;           // records of one transaction
  };
  static std::vector<Variant<LmdbStore>> Variants();

  LmdbStore(const std::string& path, const Options& options);
  LmdbStore(const LmdbStore&) = delete;
  LmdbStore& operator=(const LmdbStore&) = delete;
  ~LmdbStore();

  void Fill(std::uint64_t count);
  void Append(const Record& record);
  void Overwrite(std::uint64_t position, const Record& record);
  void Read(std::uint64_t position, Record* record);
  void ReadMany(std::uint64_t first, Record* records, int count);
  void Finish();

 private:
  struct Closer {
    void operator()(MDB_env* environment) const { mdb_env_close(environment); }
  };

  void Begin();
  void Put(std::uint64_t position, const Record& record, unsigned int flags);
  void CountToCommit();
  void BeginReading();

  Options options_;
  std::unique_ptr<MDB_env, Closer> environment_;
  MDB_dbi records_ = 0;
  MDB_txn* writing_ = nullptr;
  MDB_txn* reading_ = nullptr;  // reset between two reads
  MDB_cursor* cursor_ = nullptr;
  std::uint64_t count_ = 0;
  int collected_ = 0;
};

}  // namespace packetdb::bench
