// Captures that can be read up to a point.
#include <gmock/gmock.h>

#include "tests/host/cli/import_fixture.h"
#include "tests/host/sources/capture_writer.h"

namespace packetdb::host::test {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

class ImportOfDamage : public Importing {};

const Packets kThree = {{.second = 1}, {.second = 2, .port = 2}, {.second = 3, .port = 3}};

Bytes WithoutItsEnd(const Bytes& bytes) { return FirstOf(bytes, bytes.size() - 1); }

TEST_F(ImportOfDamage, JournalsWhatLiesBeforeIt) {
  const std::string path = File("cut", WithoutItsEnd(CaptureOf(kThree)));
  const ImportResult result = ImportFiles({path});
  EXPECT_EQ(result.exit_code, 7);
  EXPECT_THAT(result.errors, StartsWith("packetdb: " + path + ": damaged: packet 3: "));
  EXPECT_THAT(result.output, StartsWith("1 capture, 2 packets: 2 events journaled in group all\n"));
  ModelJournal model(kWindow, kCapacity);
  model.Import({kThree[0], kThree[1]});
  ExpectSameRecords(Records(), model.Records());
}

TEST_F(ImportOfDamage, JournalsAllOfTheOtherCaptures) {
  const Packets others = {{.second = 2, .interface = 2}, {.second = 9, .interface = 2}};
  const std::string cut = File("cut", WithoutItsEnd(CaptureOf(kThree)));
  const ImportResult result = ImportFiles({cut, File("good", CaptureOf(others))});
  EXPECT_EQ(result.exit_code, 7);
  ModelJournal model(kWindow, kCapacity);
  model.Import({kThree[0], kThree[1], others[0], others[1]});
  ExpectSameRecords(Records(), model.Records());
}

TEST_F(ImportOfDamage, NamesEveryDamagedCapture) {
  const std::string first = File("first", WithoutItsEnd(CaptureOf(kThree)));
  const std::string second = File("second", WithoutItsEnd(CaptureOf({kThree[0]})));
  const std::string errors = ImportFiles({first, second}).errors;
  EXPECT_THAT(errors, HasSubstr("packetdb: " + first + ": damaged: packet 3: "));
  EXPECT_THAT(errors, HasSubstr("packetdb: " + second + ": damaged: packet 1: "));
  EXPECT_EQ(std::count(errors.begin(), errors.end(), '\n'), 2);
}

TEST_F(ImportOfDamage, JournalsNothingOfACaptureThatIsDamagedAtOnce) {
  const std::string path = File("cut", PcapFile(kLinkRaw).LyingPacket(100, Zeros(3)).bytes());
  const ImportResult result = ImportFiles({path});
  EXPECT_EQ(result.exit_code, 7);
  EXPECT_THAT(result.errors, StartsWith("packetdb: " + path + ": damaged: packet 1: "));
  EXPECT_THAT(result.output, StartsWith("1 capture, 0 packets: 0 events journaled"));
  EXPECT_EQ(Records().size(), 0U);
}

TEST_F(ImportOfDamage, LeavesAJournalThatTheRestCanBeImportedInto) {
  ImportFiles({File("cut", WithoutItsEnd(CaptureOf(kThree)))});
  EXPECT_EQ(Import({{kThree[2]}}).exit_code, kExitOk);
  ModelJournal model(kWindow, kCapacity);
  model.Import(kThree);
  ExpectSameRecords(Records(), model.Records());
}

}  // namespace
}  // namespace packetdb::host::test
