// SQLite: a table of blobs by position, with a write-ahead log.
//
// It is given what it likes best: prepared statements, no mutexes, a cache that holds everything,
// and appending at the right-hand edge of its tree. The table has no bound, so nothing is ever
// deleted from it, which a bounded journal would have to do.
#pragma once

#include <cstdint>
#include <memory>
#include <sqlite3.h>
#include <string>
#include <vector>

#include "bench/stores/variant.h"
#include "bench/support/record.h"

namespace packetdb::bench {

class SqliteStore {
 public:
  struct Options {
    std::string synchronous;  // the pragma's value
    int batch = 1;            // records of one transaction
  };
  static std::vector<Variant<SqliteStore>> Variants();

  SqliteStore(const std::string& path, const Options& options);

  void Fill(std::uint64_t count);
  void Append(const Record& record);
  void Overwrite(std::uint64_t position, const Record& record);
  void Read(std::uint64_t position, Record* record);
  void ReadMany(std::uint64_t first, Record* records, int count);
  void Finish();

 private:
  struct Closer {
    void operator()(sqlite3* database) const { sqlite3_close(database); }
    void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
  };
  using Statement = std::unique_ptr<sqlite3_stmt, Closer>;

  void Execute(const char* text);
  Statement Prepare(const char* text);
  void Begin();
  void CountToCommit();
  void Run(sqlite3_stmt* statement);
  void ReadRows(sqlite3_stmt* select, Record* records, int count);
  void BindRecord(sqlite3_stmt* statement, const Record& record);

  Options options_;
  std::unique_ptr<sqlite3, Closer> database_;
  Statement begin_;
  Statement commit_;
  Statement insert_;
  Statement update_;
  Statement select_one_;
  Statement select_many_;
  int collected_ = 0;  // changes of the transaction that is open; only when collecting
};

}  // namespace packetdb::bench
