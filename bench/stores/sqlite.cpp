#include "bench/stores/sqlite.h"

#include <cstring>

namespace packetdb::bench {
namespace {

constexpr const char* kSchema =
    "PRAGMA cache_size=-1048576;"
    "PRAGMA journal_mode=WAL;"
    "CREATE TABLE records(position INTEGER PRIMARY KEY, record BLOB NOT NULL)";

constexpr const char* kSelectMany =
    "SELECT record FROM records WHERE position >= ? ORDER BY position LIMIT ?";

// Row numbers begin at 1.
sqlite3_int64 RowOf(std::uint64_t position) { return static_cast<sqlite3_int64>(position) + 1; }

}  // namespace

std::vector<Variant<SqliteStore>> SqliteStore::Variants() {
  const std::string all = "every record";
  const std::string batch = "all but up to 999";
  const std::string unsound = "the database may be damaged";
  const std::string checkpoint = "those up to the last checkpoint";
  return {
      {"SQLite, synchronous=OFF", {"OFF", 1}, {all, unsound}},
      {"SQLite, synchronous=OFF, by 1000", {"OFF", kBatch}, {batch, unsound}},
      {"SQLite, synchronous=NORMAL", {"NORMAL", 1}, {all, checkpoint}},
      {"SQLite, synchronous=NORMAL, by 1000", {"NORMAL", kBatch}, {batch, checkpoint}},
      {"SQLite, synchronous=FULL", {"FULL", 1}, {all, all}, true},
  };
}

SqliteStore::SqliteStore(const std::string& path, const Options& options) : options_(options) {
  sqlite3* database = nullptr;
  const int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX;
  const int result = sqlite3_open_v2(path.c_str(), &database, flags, nullptr);
  database_.reset(database);
  Require(result == SQLITE_OK, "SQLite: cannot open");
  Execute(kSchema);
  Execute(("PRAGMA synchronous=" + options_.synchronous).c_str());
  begin_ = Prepare("BEGIN");
  commit_ = Prepare("COMMIT");
  insert_ = Prepare("INSERT INTO records(record) VALUES(?)");
  update_ = Prepare("UPDATE records SET record = ? WHERE position = ?");
  select_one_ = Prepare("SELECT record FROM records WHERE position = ?");
  select_many_ = Prepare(kSelectMany);
}

void SqliteStore::Fill(std::uint64_t count) {
  Run(begin_.get());
  for (std::uint64_t i = 0; i < count; ++i) {
    const Record record = MakeRecord(i);
    BindRecord(insert_.get(), record);
    Run(insert_.get());
  }
  Run(commit_.get());
}

void SqliteStore::Append(const Record& record) {
  Begin();
  BindRecord(insert_.get(), record);
  Run(insert_.get());
  CountToCommit();
}

void SqliteStore::Overwrite(std::uint64_t position, const Record& record) {
  Begin();
  BindRecord(update_.get(), record);
  sqlite3_bind_int64(update_.get(), 2, RowOf(position));
  Run(update_.get());
  CountToCommit();
}

void SqliteStore::Read(std::uint64_t position, Record* record) {
  sqlite3_bind_int64(select_one_.get(), 1, RowOf(position));
  ReadRows(select_one_.get(), record, 1);
}

void SqliteStore::ReadMany(std::uint64_t first, Record* records, int count) {
  sqlite3_bind_int64(select_many_.get(), 1, RowOf(first));
  sqlite3_bind_int(select_many_.get(), 2, count);
  ReadRows(select_many_.get(), records, count);
}

void SqliteStore::ReadRows(sqlite3_stmt* select, Record* records, int count) {
  int read = 0;
  for (; sqlite3_step(select) == SQLITE_ROW && read < count; ++read) {
    Require(sqlite3_column_bytes(select, 0) == sizeof(Record), "SQLite: a record of another size");
    std::memcpy(records + read, sqlite3_column_blob(select, 0), sizeof(Record));
  }
  sqlite3_reset(select);
  Require(read == count, "SQLite: cannot read");
}

void SqliteStore::Finish() {
  if (collected_ == 0) return;
  Run(commit_.get());
  collected_ = 0;
}

void SqliteStore::Execute(const char* text) {
  Require(sqlite3_exec(database_.get(), text, nullptr, nullptr, nullptr) == SQLITE_OK, text);
}

SqliteStore::Statement SqliteStore::Prepare(const char* text) {
  sqlite3_stmt* statement = nullptr;
  Require(sqlite3_prepare_v3(database_.get(), text, -1, SQLITE_PREPARE_PERSISTENT, &statement,
                             nullptr) == SQLITE_OK,
          text);
  return Statement(statement);
}

void SqliteStore::Begin() {
  if (options_.batch > 1 && collected_ == 0) Run(begin_.get());
}

void SqliteStore::CountToCommit() {
  if (options_.batch > 1 && ++collected_ == options_.batch) Finish();
}

void SqliteStore::Run(sqlite3_stmt* statement) {
  Require(sqlite3_step(statement) == SQLITE_DONE, "SQLite: a statement failed");
  sqlite3_reset(statement);
}

// Not copied: the record stays where it is until the statement has run.
void SqliteStore::BindRecord(sqlite3_stmt* statement, const Record& record) {
  sqlite3_bind_blob(statement, 1, &record, sizeof record, SQLITE_STATIC);
}

}  // namespace packetdb::bench
