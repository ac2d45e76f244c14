// Journals of earlier formats, as the real programs meet them.
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <ostream>
#include <sys/stat.h>

#include "packetdb/journal_format.h"
#include "platform/record_file.h"
#include "tests/host/journals/old_journals.h"
#include "tests/system/support/ask.h"
#include "tests/system/support/capture.h"
#include "tests/system/support/daemon.h"
#include "tests/system/support/exit_codes.h"
#include "tests/system/support/records.h"

namespace packetdb::host::test {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::SizeIs;

constexpr int kWrite = 1;

class ConversionTest : public testing::Test {
 protected:
  ConversionTest() { directory_.File("lan.group", "packetdb-group 1\nwindow 60\n"); }

  Outcome Convert(const Program::Arguments& more = {}, const ProgramOptions& options = {}) const {
    Program::Arguments all = {"convert", journal_};
    all.insert(all.end(), more.begin(), more.end());
    return RunCommand(all, options);
  }
  Outcome Import(const Program::Arguments& more = {}) const {
    UdpPacket packet;
    packet.seconds = static_cast<std::uint32_t>(kEpoch);
    const std::string capture = captures_.File("capture.pcap", Capture({packet}));
    Program::Arguments all = {"import", capture, "-d", directory_.path(), "-g", "lan"};
    all.insert(all.end(), more.begin(), more.end());
    return RunCommand(all);
  }
  void ExpectNote(const Outcome& outcome, const std::string& out) const {
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.out, out + "\n");
    EXPECT_EQ(outcome.err, "");
  }
  // One line that says this, and nothing changed.
  static void ExpectComplaint(const Outcome& outcome, int status, const std::string& complaint) {
    EXPECT_EQ(outcome.status, status);
    EXPECT_EQ(outcome.out, "");
    EXPECT_THAT(outcome.err, AllOf(HasSubstr(complaint), MatchesRegex("packetdb: [^\n]*\n")));
  }

  const TemporaryDirectory directory_;
  const TemporaryDirectory captures_;
  const std::string journal_ = directory_.Path("lan.journal");
};

TEST_F(ConversionTest, ThatMeetsALimitOnFileSizesSaysSoAndChangesNothing) {
  MakeOld(journal_, JournalFormat::k3, 5);
  const auto before = Snapshot(directory_.path());
  // A build that counts coverage counts elsewhere: the limit would cut its files short.
  const std::string elsewhere = "GCOV_PREFIX='" + captures_.path() + "' GCOV_ERROR_FILE=/dev/null";
  Program::Arguments all = {"/bin/sh", "-c",
                            "ulimit -f 8 && export " + elsewhere + " && exec \"$0\" \"$@\""};
  for (const std::string& word : Command({"convert", journal_})) all.push_back(word);
  ExpectComplaint(Program(all).Wait(), kExitFailed, "size limit");
  EXPECT_EQ(Snapshot(directory_.path()), before);
}

TEST_F(ConversionTest, RefusesTheFilesOfAConversion) {
  for (const std::string suffix : {".~old", ".~tmp"}) {
    MakeOld(journal_ + suffix, JournalFormat::k3, 5);
    const auto before = Snapshot(directory_.path());
    ExpectComplaint(RunCommand({"convert", journal_ + suffix}), kExitFailed, "give " + journal_);
    EXPECT_EQ(Snapshot(directory_.path()), before);
    std::filesystem::remove(journal_ + suffix);
  }
}

TEST_F(ConversionTest, IsMadeByAnImportThatSaysSo) {
  MakeOld(journal_, JournalFormat::k3, 101);
  const Outcome outcome = Import();
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.err, "packetdb: journal " + journal_ +
                             " was of format 3: 101 records converted to format 4\n");
  EXPECT_THAT(outcome.out, HasSubstr("the journal holds 102 records"));
  EXPECT_EQ(Import().err, "") << "there is nothing to convert any more";
}

TEST_F(ConversionTest, IsMadeByAnImportThatKeepsTheOldFile) {
  MakeOld(journal_, JournalFormat::k41, 2);
  const std::string before = ReadFile(journal_);
  EXPECT_EQ(Import({"--keep-old"}).err,
            "packetdb: journal " + journal_ +
                " was of format 4.1: 2 records converted to format 4; the old file is kept as " +
                journal_ + ".pre-v4\n");
  EXPECT_EQ(ReadFile(journal_ + ".pre-v4"), before);
}

TEST_F(ConversionTest, IsMadeByItsOwnCommandOnce) {
  MakeOld(journal_, JournalFormat::k41, 1);
  ExpectNote(Convert(),
             "journal " + journal_ + " was of format 4.1: 1 record converted to format 4");
  ExpectNote(Convert(), "journal " + journal_ + " is of format 4 already: 1 record");
  EXPECT_EQ(NumbersIn(journal_, JournalFormat::k41), Numbers(0, 1));
}

TEST_F(ConversionTest, KeepsTheOldFileOnRequest) {
  MakeOld(journal_, JournalFormat::k3, 2);
  const std::string before = ReadFile(journal_);
  ExpectNote(Convert({"--keep-old"}), "journal " + journal_ +
                                          " was of format 3: 2 records converted to format 4; the "
                                          "old file is kept as " +
                                          journal_ + ".pre-v4");
  EXPECT_EQ(ReadFile(journal_ + ".pre-v4"), before);
}

TEST_F(ConversionTest, IsToldAndNotMadeByADryRun) {
  MakeOld(journal_, JournalFormat::k3, 101, 1000);
  const auto before = Snapshot(directory_.path());
  ExpectNote(Convert({"--dry-run"}),
             "journal " + journal_ +
                 ": format 3, 101 records; converting it takes 450560 bytes, and nothing stands in "
                 "the way");
  EXPECT_EQ(Snapshot(directory_.path()), before);
  ASSERT_EQ(Convert().status, 0);
  ExpectNote(Convert({"--dry-run"}),
             "journal " + journal_ + " is of format 4 already: 101 records");
}

TEST_F(ConversionTest, ThatWasInterruptedIsToldByADryRunAndCompleted) {
  MakeOld(journal_ + ".~old", JournalFormat::k3, 101, 1000);
  ExpectNote(Convert({"--dry-run"}), "journal " + journal_ +
                                         ", whose conversion was interrupted: format 3, 101 "
                                         "records; converting it takes 450560 bytes, and nothing "
                                         "stands in the way");
  ExpectNote(Convert(),
             "journal " + journal_ + " was of format 3: 101 records converted to format 4");
  EXPECT_EQ(NumbersIn(journal_, JournalFormat::k3), Numbers(0, 101));
}

TEST_F(ConversionTest, ThatLacksOnlyItsEndIsToldByADryRunAndCompleted) {
  MakeOld(journal_, JournalFormat::k3, 5);
  ASSERT_EQ(Convert({"--keep-old"}).status, 0);
  std::filesystem::rename(journal_ + ".pre-v4", journal_ + ".~old");
  ExpectNote(Convert({"--dry-run"}), "journal " + journal_ +
                                         ", whose conversion was interrupted: format 3, 5 records; "
                                         "nothing is left to do but to remove what it left");
  ExpectNote(Convert(),
             "journal " + journal_ + " was of format 3: 5 records converted to format 4");
  EXPECT_THAT(Snapshot(directory_.path()), SizeIs(2));
}

TEST_F(ConversionTest, IsRefusedWhileTheJournalIsInUse) {
  MakeOld(journal_, JournalFormat::k41, 5);
  CDbFile writer;
  ASSERT_EQ(writer.Init(journal_, kJournalMagic, kFormat41RecordSize, 1000, kWrite), 0);
  ExpectComplaint(Convert(), kExitInUse, "is in use by another process");
  ExpectComplaint(Convert({"--dry-run"}), kExitInUse, "is in use by another process");
  ExpectComplaint(Import(), kExitFailed, "is in use by another process");
}

TEST_F(ConversionTest, IsRefusedWithoutPermission) {
  MakeOld(journal_, JournalFormat::k41, 5);
  ASSERT_EQ(chmod(journal_.c_str(), 0), 0);
  ProgramOptions like_anybody;
  like_anybody.obeys_modes = true;
  ExpectComplaint(Convert({}, like_anybody), kExitNotPermitted, journal_ + ": permission denied");
}

TEST_F(ConversionTest, ComesBeforeResizingWhenAnotherCapacityIsAskedFor) {
  MakeOld(journal_, JournalFormat::k41, 5, 10);
  const Outcome outcome = Import({"--capacity", "11"});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_THAT(outcome.err, HasSubstr("5 records converted to format 4"));
  EXPECT_THAT(outcome.err, HasSubstr("keeps 11 records from now on, 10 before"));
}

TEST_F(ConversionTest, OfWhatIsMissingIsRefused) {
  ExpectComplaint(Convert(), kExitFailed, "cannot open journal " + journal_);
  ExpectComplaint(Convert({"--dry-run"}), kExitFailed, "cannot open journal " + journal_);
  EXPECT_FALSE(std::filesystem::exists(journal_));
}

TEST_F(ConversionTest, IsNeverMadeByTheDaemonWhichSaysWhatMakesIt) {
  MakeOld(journal_, JournalFormat::k3, 5);
  const auto before = Snapshot(directory_.path());
  const Daemon daemon(directory_.path());
  EXPECT_TRUE(daemon.LogSays("cannot open journal " + journal_ +
                             ": it is of format 3; `packetdb convert " + journal_ + "`"));
  EXPECT_THAT(Ask(daemon.socket(), QueryOf("lan")).rows, IsEmpty());
  EXPECT_EQ(Snapshot(directory_.path()), before);
  ASSERT_EQ(Convert().status, 0);
  EXPECT_THAT(Ask(daemon.socket(), QueryOf("lan")).rows, SizeIs(5));
}

TEST_F(ConversionTest, ThatWasInterruptedIsReportedByTheDaemon) {
  MakeOld(journal_ + ".~old", JournalFormat::k3, 5);
  const auto before = Snapshot(directory_.path());
  const Daemon daemon(directory_.path());
  EXPECT_TRUE(daemon.LogSays("cannot open journal " + journal_ +
                             ": it is being converted, or its conversion was interrupted"));
  EXPECT_EQ(Snapshot(directory_.path()), before);
}

// What may stand at the paths of a journal and of its conversion.
struct Bad {
  const char* name;
  const char* suffix;  // of the path, behind the journal's
  void (*make)(const std::string& path);
  const char* complaint;
};

void PrintTo(const Bad& row, std::ostream* out) { *out << row.name; }

void MakeDirectory(const std::string& path) { std::filesystem::create_directory(path); }
void MakeFifo(const std::string& path) { EXPECT_EQ(mkfifo(path.c_str(), 0600), 0); }
void MakeEmpty(const std::string& path) { EXPECT_TRUE(std::ofstream(path).good()); }
void MakeText(const std::string& path) { std::ofstream(path) << std::string(9000, 'x'); }
void MakeForeign(const std::string& path) { MakeRecordFile(path, "Another", 60); }
void MakeCut(const std::string& path) {
  MakeOld(path, JournalFormat::k3, 5);
  std::filesystem::resize_file(path, std::filesystem::file_size(path) - 1);
}
void MakeLink(const std::string& path) {
  MakeText(path + ".elsewhere");
  std::filesystem::create_symlink(path + ".elsewhere", path);
}

const Bad kBad[] = {
    {"Directory", "", MakeDirectory, "it is a directory"},
    {"Fifo", "", MakeFifo, "it is not a regular file"},
    {"EmptyFile", "", MakeEmpty, "the file is empty"},
    {"Text", "", MakeText, "it is not a record file"},
    {"UnknownMagic", "", MakeForeign, "of another magic or record size"},
    {"CutFile", "", MakeCut, "shorter than its header says"},
    {"SymbolicLink", "", MakeLink, "it is a symbolic link"},
    {"DirectoryAsTemporaryFile", ".~tmp", MakeDirectory, "in the way: it is a directory"},
    {"SymbolicLinkAsTemporaryFile", ".~tmp", MakeLink, "in the way: it is a symbolic link"},
    {"FifoAsTemporaryFile", ".~tmp", MakeFifo, "in the way: it is not a regular file"},
    {"SymbolicLinkAsSecondName", ".~old", MakeLink, "it is a symbolic link"},
    {"TextAsSecondName", ".~old", MakeText, "it is not a record file"},
};

class BadFileTest : public ConversionTest, public testing::WithParamInterface<Bad> {
 protected:
  BadFileTest() {
    if (*GetParam().suffix != '\0') {
      MakeOld(journal_, JournalFormat::k41, 5);
    }
    GetParam().make(journal_ + GetParam().suffix);
  }
};

TEST_P(BadFileTest, IsOneLineForEveryCommandAndUntouched) {
  const auto before = Snapshot(directory_.path());
  ExpectComplaint(Convert(), kExitFailed, GetParam().complaint);
  ExpectComplaint(Convert({"--dry-run"}), kExitFailed, GetParam().complaint);
  ExpectComplaint(Import(), kExitFailed, GetParam().complaint);
  EXPECT_EQ(Snapshot(directory_.path()), before);
}

TEST_P(BadFileTest, IsReportedByTheDaemonAndUntouched) {
  const auto before = Snapshot(directory_.path());
  const Daemon daemon(directory_.path());
  EXPECT_TRUE(daemon.LogSays("cannot open journal " + journal_ + ": "));
  EXPECT_THAT(Ask(daemon.socket(), QueryOf("lan")).rows, IsEmpty());
  EXPECT_EQ(Snapshot(directory_.path()), before);
}

INSTANTIATE_TEST_SUITE_P(Every, BadFileTest, testing::ValuesIn(kBad),
                         [](const auto& row) { return std::string(row.param.name); });

}  // namespace
}  // namespace packetdb::host::test
