// The tools that a host uses without registry and bus: a new storage, a check of a file, a read of
// one interface's records.
#include <boost/make_shared.hpp>
#include <ctime>
#include <string>

#include "packetdb/storage_iter.h"
#include "platform/record_file.h"
#include "tests/support/allocation.h"
#include "tests/support/fixture.h"

namespace packetdb::test {
namespace {

using QueryStorageTool = LibraryTest;

TEST_F(QueryStorageTool, GivesAFileStorageThatIsNotOpen) {
  EXPECT_EQ(CallsOf([] {
              const auto storage = IJournalStorage::QueryJournalStorage();
              EXPECT_NE(dynamic_cast<DbFileStorage*>(storage.get()), nullptr);
              EXPECT_EQ(storage.use_count(), 1);
              EXPECT_EQ(storage->getTimeDiff(), 0);
            }),
            (Strings{"CDbFile()", "~CDbFile()"}));
}

TEST_F(QueryStorageTool, GivesAnotherOneEachTime) {
  const auto first = IJournalStorage::QueryJournalStorage();
  const auto second = IJournalStorage::QueryJournalStorage();
  EXPECT_NE(first, second);
  ASSERT_EQ(first->Init("/first", 10, 5, 7), 0);
  EXPECT_EQ(second->getTimeDiff(), 0);
  EXPECT_EQ(second->GetFileName(), "");
}

TEST_F(QueryStorageTool, StorageKeepsAJournal) {
  Clock().SetSince1980(1);
  const auto storage = IJournalStorage::QueryJournalStorage();
  ASSERT_EQ(storage->Init(kJournalPath, 10, 5, 60), 0);
  const Event event = EventAt(1);
  storage->AddRecord(&event, 0, "");
  EXPECT_EQ(storage->RecordCount(), 1);
}

class CheckTool : public LibraryTest {
 protected:
  static int Check(std::size_t max_records = 1000) {
    return IJournalStorage::CheckIntegrity(kJournalPath, max_records);
  }
  static Strings Checking(const std::string& max_records) {
    return {"CDbFile()", "Init(/journal, Zolrak-Packet-Database-4, 80, " + max_records + ", 0)",
            "Done()", "~CDbFile()"};
  }
};

TEST_F(CheckTool, OpensReadOnlyWithARecordSizeOf80) {
  Files().Put(kJournalPath, kMagic4, 80, {std::string(80, 'x')});
  EXPECT_EQ(CallsOf([] { EXPECT_EQ(Check(), 0); }), Checking("1000"));
}

TEST_F(CheckTool, PassesTheCapacityOnAsItIs) {
  EXPECT_EQ(CallsOf([] { Check(0); }), Checking("0"));
  EXPECT_EQ(CallsOf([] { Check(0x123456789abcdef0); }), Checking("1311768467463790320"));
  EXPECT_EQ(CallsOf([] { Check(static_cast<std::size_t>(-1)); }), Checking("18446744073709551615"));
}

TEST_F(CheckTool, SoundJournalIsOfAnotherFormat) {
  Files().Put(kJournalPath, kMagic4, 72, {std::string(72, 'x')});
  EXPECT_EQ(Check(), kFileOtherFormat);
  EXPECT_EQ(Files().Find(kJournalPath)->records.size(), 1u);
}

TEST_F(CheckTool, ConvertsNothing) {
  Files().Put(kJournalPath, "Zolrak-Packet-Database", 60, {std::string(60, 'x')});
  EXPECT_EQ(CallsOf([] { EXPECT_EQ(Check(), -6); }), Checking("1000"));
  Files().Put(kJournalPath, kMagic4, 64, {std::string(64, 'x')});
  EXPECT_EQ(CallsOf([] { EXPECT_EQ(Check(), -6); }), Checking("1000"));
}

TEST_F(CheckTool, MissingFileIsNotMade) {
  EXPECT_EQ(Check(), kFileMissing);
  EXPECT_EQ(Files().Find(kJournalPath), nullptr);
}

TEST_F(CheckTool, GivesTheStatusBackAsItIs) {
  Files().Put(kJournalPath, kMagic4, 80, {});
  for (const int status : {-1, -6, -16, -1000, 0, 1, 7}) {
    Calls().Script("Init", {status});
    EXPECT_EQ(CallsOf([status] { EXPECT_EQ(Check(), status); }), Checking("1000"));
  }
}

TEST_F(CheckTool, LogsTheStatus) {
  ExpectLogged(5, "/journal packet database init code={i4:-2}", [] { Check(); });
  Files().Put(kJournalPath, kMagic4, 80, {});
  ExpectLogged(5, "/journal packet database init code={i4:7}", [] {
    Calls().Script("Init", {7});
    Check();
  });
  EXPECT_TRUE(Log().Lines().empty()) << "nothing at the levels below";
}

TEST_F(CheckTool, ExhaustedMemoryIsAStatus) {
  const FailAllocationsOf no_files(sizeof(CDbFile));
  EXPECT_EQ(CallsOf([] { EXPECT_EQ(Check(), -16); }), Strings{});
}

TEST_F(CheckTool, LogsExhaustedMemory) {
  const FailAllocationsOf no_files(sizeof(CDbFile));
  ExpectLogged(1, "Out of memory", [] { Check(); });
  EXPECT_EQ(LinesOf(5, [] { Check(); }), Strings{}) << "no status of a file";
}

TEST_F(CheckTool, LeavesTheFileToItsWriter) {
  Journal journal;
  journal.Add(EventAt(1));
  EXPECT_EQ(Check(), -6);
  journal.Add(EventAt(2));
  EXPECT_EQ(journal.Rows().size(), 2u);
}

class ReadTool : public LibraryTest {
 protected:
  static time_t Unix(std::uint32_t second) {
    return static_cast<time_t>(second) + static_cast<time_t>(TIME_1980_OFFSET);
  }
  // What a read for these seconds since 1980 adds, newest first.
  Strings Read(std::uint32_t from, std::uint32_t to, const std::string& name = "eth0") {
    DbItemSelection selection;
    EXPECT_TRUE(journal_.storage().ReadPackets(Unix(from), Unix(to), name, selection));
    return AllTimes(selection);
  }

  Journal journal_;
};

TEST_F(ReadTool, AddsTheRecordsOfTheRangeNewestFirst) {
  journal_.AddSeparately({10, 20, 30, 40});
  EXPECT_EQ(Read(20, 30), (Strings{"30-30 x1", "20-20 x1"}));
  EXPECT_EQ(Read(41, 100), Strings{});
  EXPECT_EQ(Read(0, 100).size(), 4u);
}

TEST_F(ReadTool, WalkBeginsAMergeWindowEarlier) {
  Journal journal(1000, 5, "/window");
  journal.AddSeparately({10, 14, 15, 20, 25, 26});
  DbItemSelection selection;
  Calls().Forget();
  journal.storage().ReadPackets(Unix(20), Unix(20), "eth0", selection);
  EXPECT_EQ(Calls().Of("ReadRecords"), Strings{"ReadRecords(2, 4)"});
  EXPECT_EQ(AllTimes(selection), Strings{"20-20 x1"});
}

TEST_F(ReadTool, AddsInFrontOfWhatIsThere) {
  journal_.AddSeparately({10, 20});
  DbItemSelection selection{Record(EventAt(99))};
  EXPECT_TRUE(journal_.storage().ReadPackets(Unix(0), Unix(50), "eth0", selection));
  EXPECT_EQ(AllTimes(selection), (Strings{"20-20 x1", "10-10 x1", "99-99 x1"}));
}

TEST_F(ReadTool, NameTakesNoPartInTheSelection) {
  journal_.Add(EventAt(10).Src(1), adapter_name_hash("eth0"));
  journal_.Add(EventAt(20).Src(2), adapter_name_hash("eth1"));
  EXPECT_EQ(Read(0, 50, "eth0").size(), 2u);
  EXPECT_EQ(Read(0, 50, "elsewhere").size(), 2u);
}

TEST_F(ReadTool, EmptyNameWillDo) {
  journal_.AddSeparately({10});
  EXPECT_EQ(Read(0, 50, "").size(), 1u);
}

TEST_F(ReadTool, NameOf31CharactersWillDo) {
  journal_.AddSeparately({10});
  EXPECT_EQ(Read(0, 50, std::string(31, 'n')).size(), 1u);
}

TEST_F(ReadTool, NameOf32CharactersIsTooLong) {
  journal_.AddSeparately({10});
  for (const std::size_t length : {32u, 33u, 1000u}) {
    DbItemSelection selection{Record(EventAt(99))};
    EXPECT_EQ(CallsOf([&] {
                EXPECT_FALSE(journal_.storage().ReadPackets(Unix(0), Unix(50),
                                                            std::string(length, 'n'), selection));
              }),
              Strings{});
    EXPECT_EQ(AllTimes(selection), Strings{"99-99 x1"});
  }
}

TEST_F(ReadTool, LogsAsPartOfTheStorages) {
  LinesOf(1, [this] {
    DbItemSelection selection;
    journal_.storage().ReadPackets(0, 50, std::string(32, 'n'), selection);
  });
  for (const auto& line : Log().Lines()) EXPECT_EQ(line.file, "src/storage") << line.Text();
  EXPECT_EQ(Log().Lines().size(), 1u);
}

TEST_F(ReadTool, LogsANameThatIsTooLong) {
  DbItemSelection selection;
  Log().SetLevel(1);
  journal_.storage().ReadPackets(0, 50, std::string(32, 'n'), selection);
  journal_.storage().ReadPackets(0, 50, std::string(100, 'n'), selection);
  EXPECT_EQ(Log().Texts(1), (Strings{"name too long 32", "name too long 100"}));
  Log().Forget();
  Log().SetLevel(0);
  journal_.storage().ReadPackets(0, 50, std::string(32, 'n'), selection);
  EXPECT_TRUE(Log().Attempts().empty());
}

TEST_F(ReadTool, LogsNothingOfItsOwn) {
  journal_.AddSeparately({10});
  Log().SetLevel(4);
  Read(0, 50);
  EXPECT_TRUE(Log().Lines().empty());
}

TEST_F(ReadTool, FailureOfTheWalkComesOut) {
  journal_.AddSeparately({10});
  Calls().Script("ReadRecords", {-1});
  DbItemSelection selection{Record(EventAt(99))};
  EXPECT_THROW(journal_.storage().ReadPackets(Unix(0), Unix(50), "eth0", selection), XPacketDb);
  EXPECT_EQ(AllTimes(selection), Strings{"99-99 x1"});
}

TEST_F(ReadTool, WorksOnTheNullStorage) {
  DatabaseStorage storage;
  DbItemSelection selection{Record(EventAt(99))};
  EXPECT_TRUE(storage.ReadPackets(Unix(0), Unix(50), "eth0", selection));
  EXPECT_EQ(AllTimes(selection), Strings{"99-99 x1"});
  EXPECT_FALSE(storage.ReadPackets(Unix(0), Unix(50), std::string(32, 'n'), selection));
}

// Any storage will do: this one keeps the query and what became of the iterator.
class AskedStorage : public DatabaseStorage {
 public:
  struct Iter : StorageIter {
    explicit Iter(bool* released) : released_(released) {}
    ~Iter() override { *released_ = true; }
    void SelectRecords(DbItemSelection& selection) override {
      selection.push_front(Record(EventAt(7)));
    }
    bool* released_;
  };
  StorageIterPtr CreateStorageIter(const Query& query) override {
    query_ = query;
    return boost::make_shared<Iter>(&released_);
  }

  Query query_;
  bool released_ = false;
};

TEST_F(ReadTool, AsksAnyStorageAndReleasesTheIterator) {
  AskedStorage storage;
  DbItemSelection selection;
  EXPECT_TRUE(storage.ReadPackets(5, 6, "eth0", selection));
  EXPECT_EQ(AllTimes(selection), Strings{"7-7 x1"});
  EXPECT_TRUE(storage.released_);
}

TEST_F(ReadTool, AsksForTheNameAndTheTimesOnly) {
  AskedStorage storage;
  DbItemSelection selection;
  for (const std::string& name : {std::string("eth0"), std::string(), std::string(31, 'n')}) {
    storage.ReadPackets(-5, 6000000000, name, selection);
    Query expected;
    SetInterface(expected, name);
    EXPECT_EQ(ObjectBytes(storage.query_.m_Interface), ObjectBytes(expected.m_Interface));
    EXPECT_EQ(storage.query_.m_TimeStart, -5);
    EXPECT_EQ(storage.query_.m_TimeEnd, 6000000000);
    EXPECT_EQ(storage.query_.m_AdapterNameHash, expected.m_AdapterNameHash);
    EXPECT_EQ(storage.query_.m_RecCount, 0u);
    EXPECT_EQ(storage.query_.m_Version, expected.m_Version);
    EXPECT_TRUE(storage.query_.m_Protocols.empty());
    EXPECT_TRUE(storage.query_.m_Errcodes.empty());
  }
}

}  // namespace
}  // namespace packetdb::test
