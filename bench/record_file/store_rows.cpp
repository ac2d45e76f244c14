// Appending, overwriting and reading records, in each store.
#include <memory>
#include <utility>
#include <vector>

#include "bench/record_file/rows.h"
#include "bench/record_file/timing.h"
#include "bench/stores/agree.h"
#include "bench/stores/journal.h"
#include "bench/stores/lmdb.h"
#include "bench/stores/plain_file.h"
#include "bench/stores/sqlite.h"

namespace packetdb::bench {
namespace {

constexpr int kMany = 1000;

// Cheap, and the same for all.
class Positions {
 public:
  explicit Positions(std::uint64_t count) : count_(count) {}
  std::uint64_t Next() {
    state_ = state_ * 6364136223846793005U + 1442695040888963407U;
    return (state_ >> 33U) % count_;
  }

 private:
  std::uint64_t count_;
  std::uint64_t state_ = 1;
};

// A store that is made when the first row needs it, and shared by the rows that need it full.
template <class Store>
class FullStore {
 public:
  FullStore(Rows& rows, Variant<Store> variant)
      : scratch_(rows.scratch()), count_(rows.sizes().records), variant_(std::move(variant)) {}

  Store& Get() {
    if (store_ == nullptr) {
      CheckAnswersOfNew();
      store_ = std::make_unique<Store>(scratch_.NewPath(), variant_.options);
      store_->Fill(count_);
      scratch_.Settle();
    }
    return *store_;
  }

  std::uint64_t count() const { return count_; }
  const Variant<Store>& variant() const { return variant_; }

 private:
  void CheckAnswersOfNew() {
    Scratch own(scratch_.path());
    Store store(own.NewPath(), variant_.options);
    CheckAnswers(store, variant_.name);
  }

  Scratch& scratch_;
  std::uint64_t count_;
  Variant<Store> variant_;
  std::unique_ptr<Store> store_;
};

template <class Store>
using Full = std::shared_ptr<FullStore<Store>>;

// To be numbered on from, and unlike all of other runs: a store may notice that it is given what it
// has, and then writes nothing.
Record FirstRecordOfRun() {
  static std::uint64_t runs = 0;
  return MakeRecord(++runs << 32U);
}

template <class Store>
void AppendAll(benchmark::State& state, Store& store) {
  Record record = FirstRecordOfRun();
  for (auto _ : state) {
    store.Append(record);
    ++record.number;
  }
  store.Finish();
}

// `position` gives the next one.
template <class Store, class Next>
void OverwriteAll(benchmark::State& state, Store& store, Next position) {
  Record record = FirstRecordOfRun();
  for (auto _ : state) {
    store.Overwrite(position(), record);
    ++record.number;
  }
  store.Finish();
}

template <class Store>
void ReadAll(benchmark::State& state, Store& store, std::uint64_t count) {
  Positions positions(count);
  Record record;
  for (auto _ : state) {
    store.Read(positions.Next(), &record);
    benchmark::DoNotOptimize(record);
  }
}

template <class Store>
void ReadRanges(benchmark::State& state, Store& store, std::uint64_t count) {
  Positions positions(count - kMany + 1);
  std::vector<Record> records(kMany);
  for (auto _ : state) {
    store.ReadMany(positions.Next(), records.data(), kMany);
    benchmark::ClobberMemory();
  }
}

template <class Store>
std::string Operation(const Variant<Store>& variant, const std::string& verb) {
  return verb + (variant.is_on_disk_at_once ? ", on the disk when the call returns" : "");
}

// A row over the full store, after which the disk has seen everything.
template <class Store, class Body>
void AddFull(Rows& rows, const Full<Store>& full, const std::string& verb, Body body) {
  const Variant<Store>& variant = full->variant();
  rows.Add({Operation(variant, verb), variant.name, variant.promise},
           [full, body, &scratch = rows.scratch()](benchmark::State& state) {
             body(state, full->Get(), full->count());
             scratch.Settle();
           });
}

// Appends to an empty store each time: one without a bound would grow and grow.
template <class Store>
void AddAppendToEmpty(Rows& rows, const Variant<Store>& variant, const Row& row) {
  rows.Add(row, [variant, &scratch = rows.scratch()](benchmark::State& state) {
    Scratch own(scratch.path());
    Store store(own.NewPath(), variant.options);
    AppendAll(state, store);
    scratch.Settle();
  });
}

template <class Store>
void AddAppend(Rows& rows, const Full<Store>& full) {
  const Variant<Store>& variant = full->variant();
  AddAppendToEmpty(rows, variant, {Operation(variant, "append"), variant.name, variant.promise});
}

// Ours has a bound: it appends over its oldest records, which is what it does all its life.
template <>
void AddAppend(Rows& rows, const Full<JournalStore>& full) {
  AddFull<JournalStore>(
      rows, full, "append",
      [](benchmark::State& state, JournalStore& store, std::uint64_t) { AppendAll(state, store); });
}

template <class Store>
void AddOverwrites(Rows& rows, const Full<Store>& full) {
  using benchmark::State;
  AddFull<Store>(rows, full, "overwrite the newest record",
                 [](State& state, Store& store, std::uint64_t count) {
                   OverwriteAll(state, store, [count] { return count - 1; });
                 });
  AddFull<Store>(rows, full, "overwrite any record",
                 [](State& state, Store& store, std::uint64_t count) {
                   Positions positions(count);
                   OverwriteAll(state, store, [&positions] { return positions.Next(); });
                 });
}

template <class Store>
void AddReads(Rows& rows, const Full<Store>& full) {
  using benchmark::State;
  const std::string name = full->variant().name;
  const auto get = [full]() -> Store& { return full->Get(); };
  const std::uint64_t count = full->count();
  rows.Add({"read any record", name, {}},
           [get, count](State& state) { ReadAll(state, get(), count); });
  rows.Add({"read 1000 in a row", name, {}, kMany},
           [get, count](State& state) { ReadRanges(state, get(), count); });
}

void AddReadsOfOnlooker(Rows& rows, const Full<JournalStore>& full) {
  using benchmark::State;
  const std::string name = "packetdb, beside the writer";
  const std::uint64_t count = full->count();
  rows.Add({"read any record", name, {}}, [full, count](State& state) {
    JournalReader reader(full->Get().path(), count);
    ReadAll(state, reader, count);
  });
  rows.Add({"read 1000 in a row", name, {}, kMany}, [full, count](State& state) {
    JournalReader reader(full->Get().path(), count);
    ReadRanges(state, reader, count);
  });
}

// The first variant of a store stands for all when it comes to reading.
template <class Store>
std::vector<Full<Store>> AddStore(Rows& rows, const std::vector<Variant<Store>>& variants) {
  std::vector<Full<Store>> all;
  for (const Variant<Store>& variant : variants) {
    all.push_back(std::make_shared<FullStore<Store>>(rows, variant));
    AddAppend(rows, all.back());
    AddOverwrites(rows, all.back());
  }
  AddReads(rows, all.front());
  return all;
}

// The pages of a new file come into memory one by one.
void AddFirstLap(Rows& rows, const Variant<JournalStore>& variant) {
  const std::uint64_t count = rows.sizes().records;
  Row row = {"append", "packetdb, first lap of a file", variant.promise, double(count), 1};
  rows.Add(std::move(row), [variant, count, &scratch = rows.scratch()](benchmark::State& state) {
    Scratch own(scratch.path());
    JournalStore store(own.NewPath(), variant.options);
    scratch.Settle();
    for (auto _ : state) {
      Time(state, [&store, count] {
        for (std::uint64_t i = 0; i < count; ++i) store.Append(MakeRecord(i));
      });
    }
    scratch.Settle();
  });
}

}  // namespace

void AddStoreRows(Rows& rows) {
  const auto ours = JournalStore::Variants(rows.sizes().records);
  const auto full = AddStore<JournalStore>(rows, ours);
  AddFirstLap(rows, ours.front());
  AddReadsOfOnlooker(rows, full.front());
  AddStore<PlainFileStore>(rows, PlainFileStore::Variants());
  AddStore<SqliteStore>(rows, SqliteStore::Variants());
  AddStore<LmdbStore>(rows, LmdbStore::Variants());
}

}  // namespace packetdb::bench
