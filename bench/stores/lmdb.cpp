#include "bench/stores/lmdb.h"

#include <cstring>

namespace packetdb::bench {
namespace {

// Far more than any run writes; the file is as sparse as it is empty.
constexpr std::size_t kMapSize = std::size_t{16} << 30U;
constexpr unsigned int kLazy = MDB_NOSYNC | MDB_WRITEMAP;

void Check(int result, const char* what) {
  if (result == MDB_SUCCESS) return;
  throw std::runtime_error(std::string("LMDB: ") + what + ": " + mdb_strerror(result));
}

MDB_val ValueOf(std::uint64_t& position) { return {sizeof position, &position}; }

void Copy(const MDB_val& from, Record* to) {
  Require(from.mv_size == sizeof *to, "LMDB: a record of another size");
  std::memcpy(to, from.mv_data, sizeof *to);
}

}  // namespace

std::vector<Variant<LmdbStore>> LmdbStore::Variants() {
  const std::string all = "every record";
  const std::string unsound = "the database may be damaged";
  return {
      {"LMDB, NOSYNC and WRITEMAP", {kLazy, 1}, {all, unsound}},
      {"LMDB, NOSYNC and WRITEMAP, by 1000", {kLazy, kBatch}, {"all but up to 999", unsound}},
      {"LMDB, synchronous", {0, 1}, {all, all}, true},
  };
}

LmdbStore::LmdbStore(const std::string& path, const Options& options) : options_(options) {
  MDB_env* environment = nullptr;
  Check(mdb_env_create(&environment), "environment");
  environment_.reset(environment);
  Check(mdb_env_set_mapsize(environment, kMapSize), "size");
  Check(mdb_env_open(environment, path.c_str(), options_.flags | MDB_NOSUBDIR | MDB_NOTLS, 0640),
        "open");
  Begin();
  Check(mdb_dbi_open(writing_, nullptr, MDB_CREATE | MDB_INTEGERKEY, &records_), "table");
  Finish();
}

LmdbStore::~LmdbStore() {
  if (cursor_ != nullptr) mdb_cursor_close(cursor_);
  if (reading_ != nullptr) mdb_txn_abort(reading_);
  if (writing_ != nullptr) mdb_txn_abort(writing_);
}

void LmdbStore::Fill(std::uint64_t count) {
  Begin();
  for (std::uint64_t i = 0; i < count; ++i) Put(count_++, MakeRecord(i), MDB_APPEND);
  Finish();
}

void LmdbStore::Append(const Record& record) {
  Begin();
  Put(count_++, record, MDB_APPEND);
  CountToCommit();
}

void LmdbStore::Overwrite(std::uint64_t position, const Record& record) {
  Begin();
  Put(position, record, 0);
  CountToCommit();
}

void LmdbStore::Read(std::uint64_t position, Record* record) {
  BeginReading();
  MDB_val key = ValueOf(position);
  MDB_val value = {};
  Check(mdb_get(reading_, records_, &key, &value), "get");
  Copy(value, record);
  mdb_txn_reset(reading_);
}

void LmdbStore::ReadMany(std::uint64_t first, Record* records, int count) {
  BeginReading();
  Check(mdb_cursor_renew(reading_, cursor_), "cursor");
  MDB_val key = ValueOf(first);
  MDB_val value = {};
  for (int i = 0; i < count; ++i) {
    Check(mdb_cursor_get(cursor_, &key, &value, i == 0 ? MDB_SET : MDB_NEXT), "next");
    Copy(value, records + i);
  }
  mdb_txn_reset(reading_);
}

void LmdbStore::Finish() {
  if (writing_ == nullptr) return;
  const int result = mdb_txn_commit(writing_);
  writing_ = nullptr;
  collected_ = 0;
  Check(result, "commit");
}

void LmdbStore::Begin() {
  if (writing_ != nullptr) return;
  Check(mdb_txn_begin(environment_.get(), nullptr, 0, &writing_), "begin");
}

void LmdbStore::Put(std::uint64_t position, const Record& record, unsigned int flags) {
  MDB_val key = ValueOf(position);
  // The interface is not const, and copies.
  MDB_val value = {sizeof record, const_cast<Record*>(&record)};
  Check(mdb_put(writing_, records_, &key, &value, flags), "put");
}

void LmdbStore::CountToCommit() {
  if (++collected_ == options_.batch) Finish();
}

void LmdbStore::BeginReading() {
  if (reading_ != nullptr) {
    Check(mdb_txn_renew(reading_), "renew");
    return;
  }
  Check(mdb_txn_begin(environment_.get(), nullptr, MDB_RDONLY, &reading_), "begin to read");
  Check(mdb_cursor_open(reading_, records_, &cursor_), "cursor");
}

}  // namespace packetdb::bench
