// Opening a journal, of today's format or an earlier one, and checking a file: every call fails in
// turn. Nothing is lost that was not being copied, and the next Init goes on from there.
#include <filesystem>
#include <string>

#include "tests/library/convert_fixture.h"
#include "tests/library/fault_fixture.h"

namespace packetdb::test {
namespace {

class OpenFaults : public Faults {
 protected:
  // Init under the fault and twice behind it, with what the journal holds then: "-1 0 0 x2".
  std::string Open(const Fault& fault, const char* magic, std::size_t record_size) const {
    FreshDirectory directory;
    const std::string path = directory.path() + "/journal";
    Files().FollowDisk();
    Files().Put(path, magic, record_size,
                {std::string(record_size, 'a'), std::string(record_size, 'b')});
    DbFileStorage storage;
    fault.Begin();
    std::string outcome = std::to_string(storage.Init(path, 10, 5, 60));
    Calls().StopFailing();
    for (int i = 0; i < 2; ++i) outcome += " " + std::to_string(storage.Init(path, 10, 5, 60));
    outcome += " x" + std::to_string(storage.RecordCount());
    storage.Done();
    return outcome;
  }
  auto Opening(const char* magic, std::size_t record_size) const {
    return [=, this](const Fault& fault) { return Open(fault, magic, record_size); };
  }
};

TEST_F(OpenFaults, JournalThatDoesNotOpenOpensLater) {
  for (const bool for_good : {false, true}) {
    ExpectOutcomes(for_good, {"-1 0 0 x2", "0 0 0 x2"}, Opening(kMagic4, 72));
  }
}

// In order: the journal, the old file, the notice, the new file, two records read and written, the
// journal.
TEST_F(OpenFaults, Format3IsConvertedAsFarAsItCanBeRead) {
  ExpectOutcomes(false,
                 {"-1 0 0 x2", "-6 0 0 x2", "0 0 0 x2", "-6 0 0 x2", "0 0 0 x0", "0 0 0 x0",
                  "0 0 0 x1", "0 0 0 x1", "-1 0 0 x2", "0 0 0 x2"},
                 Opening(kFormat3.magic, 60));
}

TEST_F(OpenFaults, Format3SurvivesAFileThatFailsForGoodBeforeTheCopy) {
  ExpectOutcomes(true,
                 {"-1 0 0 x2", "-6 0 0 x2", "-6 0 0 x2", "-6 0 0 x2", "-1 0 0 x0", "-1 0 0 x0",
                  "-1 0 0 x1", "-1 0 0 x1", "-1 0 0 x2", "0 0 0 x2"},
                 Opening(kFormat3.magic, 60));
}

// In order: the journal, the old file as of format 3 and of 4.1, the notice, the new file, two
// records read and written.
TEST_F(OpenFaults, Format41IsConvertedAsFarAsItCanBeRead) {
  ExpectOutcomes(false,
                 {"-1 1 0 x2", "1 0 0 x2", "-6 1 0 x2", "1 0 0 x2", "-6 1 0 x2", "-1 0 0 x0",
                  "-1 0 0 x0", "-1 0 0 x1", "-1 0 0 x1", "1 0 0 x2"},
                 Opening(kFormat41.magic, 64));
}

TEST_F(OpenFaults, Format41SurvivesAFileThatFailsForGoodBeforeTheCopy) {
  ExpectOutcomes(true,
                 {"-1 1 0 x2", "-6 1 0 x2", "-6 1 0 x2", "-6 1 0 x2", "-6 1 0 x2", "-1 0 0 x0",
                  "-1 0 0 x0", "-1 0 0 x1", "-1 0 0 x1", "1 0 0 x2"},
                 Opening(kFormat41.magic, 64));
}

TEST_F(OpenFaults, CheckGivesTheFailureBackAndClosesTheFile) {
  for (const bool for_good : {false, true}) {
    ExpectOutcomes(for_good, {"-1", "0"}, [](const Fault& fault) {
      Files().Put(kJournalPath, kMagic4, 80, {});
      fault.Begin();
      const int status = IJournalStorage::CheckIntegrity(kJournalPath, 10);
      EXPECT_EQ(Calls().All().back(), "~CDbFile()");
      EXPECT_EQ(Calls().CountOf("Done"), 1);
      Calls().StopFailing();
      EXPECT_EQ(IJournalStorage::CheckIntegrity(kJournalPath, 10), 0);
      return std::to_string(status);
    });
  }
}

}  // namespace
}  // namespace packetdb::test
