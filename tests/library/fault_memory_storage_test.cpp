// Memory runs out at every allocation of the storages, the conversions and the tools: what is
// thrown passes through, nothing leaks, and the storage works again.
#include <boost/make_shared.hpp>
#include <filesystem>
#include <map>
#include <string>

#include "packetdb/storage_iter.h"
#include "tests/library/convert_fixture.h"
#include "tests/library/fault_fixture.h"

namespace packetdb::test {
namespace {

class StorageMemory : public Faults {
 protected:
  // Init of a journal of two records that lies there in an old format. Wherever memory runs out,
  // the old file is as it was.
  static std::string OpenOld(const MemoryFault& fault, const OldFormat& format) {
    const FreshDirectory directory;
    const std::string path = directory.path() + "/journal";
    Files().FollowDisk();
    Files().Put(path, format.magic, format.record_size, OldRecords(format, 2));
    const auto old = Files().Find(path);
    DbFileStorage storage;
    int result = 0;
    const std::string thrown = fault.Meets([&] { result = storage.Init(path, 10, 5, 60); });
    if (thrown.empty()) return std::to_string(result);
    EXPECT_FALSE(old->has_writer) << "the temporary object is gone";
    EXPECT_EQ(Files().Find(path), old);
    EXPECT_TRUE(storage.Init(path, 10, 5, 60) == 0 || storage.Init(path, 10, 5, 60) == 0);
    EXPECT_EQ(storage.RecordCount(), 2);
    return thrown;
  }
  // What `select` brings of 20 records when memory runs out on the way.
  template <class Select>
  static std::string SelectFrom(const MemoryFault& fault, Select select) {
    Journal journal;
    for (std::uint32_t second = 1; second <= 20; ++second) journal.AddSeparately({second});
    DbItemSelection all;
    select(journal.storage(), all);
    DbItemSelection selection;
    const std::string thrown = fault.Meets([&] { select(journal.storage(), selection); });
    ExpectOldestOf(all, selection);
    selection.clear();
    select(journal.storage(), selection);
    EXPECT_EQ(AllTimes(selection), AllTimes(all));
    return thrown;
  }
  // A walk that ended early has brought the records that it came to, and these are the oldest.
  static void ExpectOldestOf(const DbItemSelection& all, const DbItemSelection& some) {
    const Strings times = AllTimes(all);
    ASSERT_LE(some.size(), times.size());
    EXPECT_EQ(AllTimes(some), Strings(times.end() - static_cast<long>(some.size()), times.end()));
  }
};

TEST_F(StorageMemory, NewStorageIsThereOrNot) {
  ExpectMemoryOutcomes({"", "bad_alloc"}, [](const MemoryFault& fault) {
    return fault.Meets([] { IJournalStorage::QueryJournalStorage(); });
  });
  ExpectMemoryOutcomes({"", "bad_alloc"}, [](const MemoryFault& fault) {
    return fault.Meets([] { const DbFileStorage storage; });
  });
}

TEST_F(StorageMemory, JournalOfTodayIsOpenedAndClosed) {
  ExpectMemoryOutcomes({"0"}, [](const MemoryFault& fault) {
    DbFileStorage storage;
    int result = -1;
    const std::string thrown = fault.Meets([&] {
      result = storage.Init(kJournalPath, 10, 5, 60);
      storage.Done();
    });
    return thrown + std::to_string(result);
  });
}

TEST_F(StorageMemory, ConversionLosesNoRecord) {
  ExpectMemoryOutcomes({"0", "bad_alloc"},
                       [](const MemoryFault& fault) { return OpenOld(fault, kFormat3); });
  ExpectMemoryOutcomes({"1", "bad_alloc"},
                       [](const MemoryFault& fault) { return OpenOld(fault, kFormat41); });
}

// Of 400 events that come twice, some find no room, or are appended and there is no room to
// remember them, or what is missing only makes them easier to find. All others are as ever.
TEST_F(StorageMemory, EventIsDroppedOrForgottenAndNothingIsThrown) {
  ExpectMemoryOutcomes({"merged", "forgotten", "dropped"}, [](const MemoryFault& fault) {
    Journal journal(1000, 60);
    Clock().SetSince1980(9);
    std::string outcome = fault.Meets([&] {
      for (std::uint32_t number = 0; number < 800; ++number) {
        const Event event = EventAt(9).Src(number % 400);
        journal.storage().AddRecord(&event, 0, "");
      }
    });
    std::map<std::string, int> rows;
    for (const auto& row : journal.Rows()) ++rows[row];
    const int kept = 2 * rows["9-9 x2"] + rows["9-9 x1"];
    EXPECT_LE(kept, 800);
    outcome += kept < 800 ? "dropped" : rows["9-9 x1"] > 0 ? "forgotten" : "merged";
    return outcome;
  });
}

TEST_F(StorageMemory, DroppedEventIsLogged) {
  const auto add = [](const MemoryFault& fault) {
    Journal journal(10, 60);
    Clock().SetSince1980(9);
    const Event event = EventAt(9);
    const std::string thrown = fault.Meets([&] { journal.storage().AddRecord(&event, 0, ""); });
    const std::string kept = journal.Rows().empty() ? "dropped" : "kept";
    const bool logged = Log().Has(1, "Failed to add record");
    journal.Add(EventAt(9).Src(2));
    journal.Add(EventAt(9).Src(2));
    EXPECT_EQ(journal.Rows().back(), "9-9 x2");
    return thrown + kept + (logged ? ", logged" : "");
  };
  for (const bool for_good : {false, true}) {
    const Strings outcomes = OutcomesOf<MemoryFault>(1, for_good, add);
    EXPECT_EQ(outcomes.front(), "dropped, logged");
    EXPECT_EQ(outcomes.back(), "kept");
  }
}

TEST_F(StorageMemory, ReadingNeedsNone) {
  ExpectMemoryOutcomes({"1-1 x1"}, [](const MemoryFault& fault) {
    Journal journal;
    journal.AddSeparately({1, 2});
    PacketDbItem item;
    char buffer[2 * 72];
    const std::string thrown = fault.Meets([&] {
      journal.storage().FetchRecord(0, &item);
      journal.storage().FetchRecords(0, buffer, 2);
      journal.storage().RecordCount();
    });
    EXPECT_EQ(std::string(buffer + 72, 72), journal.Bytes(1));
    return thrown + Times(item.m_Item);
  });
}

TEST_F(StorageMemory, CheckTellsOfExhaustedMemory) {
  ExpectMemoryOutcomes({"0", "-16"}, [](const MemoryFault& fault) {
    Files().Put(kJournalPath, kMagic4, 80, {});
    int status = 1;
    const std::string thrown =
        fault.Meets([&] { status = IJournalStorage::CheckIntegrity(kJournalPath, 10); });
    return thrown + std::to_string(status);
  });
}

TEST_F(StorageMemory, IteratorIsThereOrNot) {
  for (const unsigned int limit : {0u, 3u}) {
    ExpectMemoryOutcomes({"", "bad_alloc"}, [limit](const MemoryFault& fault) {
      Journal journal;
      Query query = QueryFor();
      query.m_RecCount = limit;
      return fault.Meets([&] { journal.storage().CreateStorageIter(query); });
    });
  }
  ExpectMemoryOutcomes({"", "bad_alloc"}, [](const MemoryFault& fault) {
    DatabaseStorage storage;
    const Query query;
    return fault.Meets([&] { storage.CreateStorageIter(query); });
  });
}

TEST_F(StorageMemory, WalkingNeedsNone) {
  ExpectMemoryOutcomes({"x20"}, [](const MemoryFault& fault) {
    Journal journal;
    journal.AddSeparately(std::vector<std::uint32_t>(20, 7));
    const Query query = QueryFor();
    const StorageIterPtr iter = journal.storage().CreateStorageIter(query);
    int walked = 0;
    const std::string thrown = fault.Meets([&] {
      while (iter->next() != nullptr) ++walked;
    });
    return thrown + "x" + std::to_string(walked);
  });
}

TEST_F(StorageMemory, SelectionKeepsWhatTheWalkCameTo) {
  const Query query = QueryFor();
  ExpectMemoryOutcomes({"", "bad_alloc"}, [&](const MemoryFault& fault) {
    return SelectFrom(fault, [&](DbFileStorage& storage, DbItemSelection& selection) {
      storage.CreateStorageIter(query)->SelectRecords(selection);
    });
  });
}

TEST_F(StorageMemory, ReadToolKeepsWhatTheWalkCameTo) {
  ExpectMemoryOutcomes({"", "bad_alloc"}, [](const MemoryFault& fault) {
    return SelectFrom(fault, [](DbFileStorage& storage, DbItemSelection& selection) {
      storage.ReadPackets(TIME_1980_OFFSET, TIME_1980_OFFSET + 100, "eth0", selection);
    });
  });
}

TEST_F(StorageMemory, LimitedSelectionNeverHoldsMoreThanItsLimit) {
  Query query = QueryFor();
  query.m_RecCount = 8;
  ExpectMemoryOutcomes({"", "bad_alloc"}, [&](const MemoryFault& fault) {
    Journal journal;
    for (std::uint32_t second = 1; second <= 20; ++second) journal.AddSeparately({second});
    DbItemSelection selection;
    const std::string thrown =
        fault.Meets([&] { journal.storage().CreateStorageIter(query)->SelectRecords(selection); });
    EXPECT_LE(selection.size(), 8u);
    EXPECT_TRUE(!thrown.empty() || AllTimes(selection).front() == "20-20 x1");
    return thrown;
  });
}

TEST_F(StorageMemory, RefusedNameNeedsNone) {
  const std::string name(32, 'n');
  ExpectMemoryOutcomes({"refused"}, [&](const MemoryFault& fault) {
    DatabaseStorage storage;
    DbItemSelection selection;
    bool read = true;
    const std::string thrown =
        fault.Meets([&] { read = storage.ReadPackets(0, 1, name, selection); });
    return thrown + (read ? "read" : "refused");
  });
}

TEST_F(StorageMemory, NullStorageKeepsItsNameOrTakesTheNewOne) {
  const std::string path = "/a path that is too long to be kept in place";
  ExpectMemoryOutcomes({path, "bad_alloc/a"}, [&](const MemoryFault& fault) {
    DatabaseStorage storage;
    storage.Init("/a", 1, 1, 1);
    const std::string thrown = fault.Meets([&] { storage.Init(path, 1, 1, 1); });
    return thrown + storage.GetFileName();
  });
}

}  // namespace
}  // namespace packetdb::test
