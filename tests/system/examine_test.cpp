// The commands that look at a journal file, as real processes, on files of every wrong kind.
// Whatever they are given, they change nothing.
#include <algorithm>
#include <array>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <functional>
#include <gmock/gmock.h>
#include <map>
#include <ostream>
#include <sys/stat.h>
#include <unistd.h>

#include "host/record_file/superblock.h"
#include "tests/host/cli/stored_journal.h"
#include "tests/system/support/exit_codes.h"
#include "tests/system/support/program.h"
#include "tests/system/support/temporary_directory.h"

namespace packetdb::host::test {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::MatchesRegex;

// Every name in a directory, with the bytes of the regular files.
std::map<std::string, std::string> Contents(const std::string& directory) {
  std::map<std::string, std::string> contents;
  for (const auto& entry : std::filesystem::directory_iterator(directory)) {
    const bool readable = entry.symlink_status().type() == std::filesystem::file_type::regular &&
                          access(entry.path().c_str(), R_OK) == 0;
    contents[entry.path().filename()] = readable ? ReadFile(entry.path()) : "";
  }
  return contents;
}

TEST(ExamineTest, ChangesNothingAndLetsAWriterIn) {
  const TemporaryDirectory place;
  const std::string path = place.Path("all.journal");
  Store(path, {RecordAt(0), RecordAt(1)});
  Overwrite(path, kStateOffset + 20, "x");  // what a writer would repair
  const auto before = Contents(place.path());
  for (const char* command : {"info", "check", "dump"}) RunCommand({command, path});
  EXPECT_EQ(Contents(place.path()), before);
  CDbFile writer;
  OpenToWrite(writer, path, JournalFormat::k4, 10);
  EXPECT_EQ(AppendTo(writer, JournalFormat::k4, RecordAt(2)), 2);
}

// A file that is no sound journal. The path is empty when the system does not let us make it.
struct BadFile {
  const char* name;
  std::function<std::string(const TemporaryDirectory&)> make;
  int status;  // of all three commands
  int check_status;
  const char* complaint;
};

void PrintTo(const BadFile& row, std::ostream* out) { *out << row.name; }

class ExaminedFileTest : public testing::TestWithParam<BadFile> {};

TEST_P(ExaminedFileTest, IsRefusedInOneLineAndLeftAsItIs) {
  const TemporaryDirectory place("a b");
  const std::string path = GetParam().make(place);
  const auto before = Contents(place.path());
  ProgramOptions like_others;
  like_others.obeys_modes = true;
  for (const char* command : {"info", "dump", "check"}) {
    SCOPED_TRACE(command);
    const Outcome outcome = RunCommand({command, path}, like_others);
    const bool checks = command == std::string("check");
    EXPECT_EQ(outcome.status, checks ? GetParam().check_status : GetParam().status);
    if (outcome.status == kExitDamaged) {
      EXPECT_EQ(outcome.err, "");
      EXPECT_THAT(outcome.out, HasSubstr(path + ": damaged: "));
    } else {
      EXPECT_EQ(outcome.out, "");
      EXPECT_THAT(outcome.err, AllOf(HasSubstr(path + ": "), HasSubstr(GetParam().complaint),
                                     MatchesRegex("packetdb: [^\n]*\n")));
    }
  }
  EXPECT_EQ(Contents(place.path()), before);
}

std::string SoundJournal(const TemporaryDirectory& place) {
  Store(place.Path("journal"), {RecordAt(0), RecordAt(1)});
  return place.Path("journal");
}

// The sound journal with one number of its superblocks changed under a good checksum.
std::string WithHeader(const TemporaryDirectory& place,
                       const std::function<void(Superblock*)>& change) {
  const std::string path = SoundJournal(place);
  std::string bytes = ReadFile(path).substr(0, sizeof(Superblock));
  Superblock block = {};
  bytes.copy(reinterpret_cast<char*>(&block), sizeof block);
  change(&block);
  block.checksum = ChecksumOf(block);
  bytes.assign(reinterpret_cast<const char*>(&block), sizeof block);
  Overwrite(path, 0, bytes + bytes);
  return path;
}

std::string OtherRecords(const TemporaryDirectory& place, const char* magic, unsigned long size) {
  constexpr int kCreate = 5;
  CDbFile file;
  EXPECT_EQ(file.Init(place.Path("records"), magic, size, 3, kCreate), 0);
  return place.Path("records");
}

const BadFile kBadFiles[] = {
    {"Missing", [](const auto& place) { return place.Path("nothing"); }, kExitFailed, kExitFailed,
     "does not exist"},
    {"Directory", [](const auto& place) { return place.path(); }, kExitFailed, kExitFailed,
     "it is a directory"},
    {"Fifo",
     [](const auto& place) {
       EXPECT_EQ(mkfifo(place.Path("fifo").c_str(), 0600), 0);
       return place.Path("fifo");
     },
     kExitFailed, kExitFailed, "not a regular file"},
    {"Device", [](const auto&) { return std::string("/dev/zero"); }, kExitFailed, kExitFailed,
     "not a regular file"},
    {"SymbolicLink",
     [](const auto& place) {
       std::filesystem::create_symlink(SoundJournal(place), place.Path("link"));
       return place.Path("link");
     },
     kExitFailed, kExitFailed, "symbolic link"},
    {"Empty", [](const auto& place) { return place.File("file", ""); }, kExitFailed, kExitFailed,
     "the file is empty"},
    {"Text", [](const auto& place) { return place.File("file", "first line\nsecond\n"); },
     kExitFailed, kExitFailed, "not a record file"},
    {"LongText", [](const auto& place) { return place.File("file", std::string(9000, 'x')); },
     kExitFailed, kExitFailed, "not a record file"},
    {"TruncatedSuperblock",
     [](const auto& place) {
       const std::string path = SoundJournal(place);
       std::filesystem::resize_file(path, 1000);
       return path;
     },
     kExitFailed, kExitDamaged, "shorter than its header says"},
    {"TruncatedSlots",
     [](const auto& place) {
       const std::string path = SoundJournal(place);
       std::filesystem::resize_file(path, kCellsOffset + 20);
       return path;
     },
     kExitFailed, kExitDamaged, "shorter than its header says"},
    {"TooLong",
     [](const auto& place) {
       const std::string path = SoundJournal(place);
       std::filesystem::resize_file(path, 1000000);
       return path;
     },
     kExitFailed, kExitDamaged, "longer than its header says"},
    {"DamagedSuperblocks",
     [](const auto& place) {
       const std::string path = SoundJournal(place);
       Overwrite(path, 500, "x");
       Overwrite(path, kPageSize + 500, "x");
       return path;
     },
     kExitFailed, kExitDamaged, "both superblocks of the record file are damaged"},
    {"AbsurdHeader",
     [](const auto& place) {
       return WithHeader(place, [](Superblock* b) { b->capacity = b->slot_count = ~0ULL; });
     },
     kExitFailed, kExitDamaged, "contradict each other"},
    {"HugeSlots",
     [](const auto& place) {
       return WithHeader(place, [](Superblock* b) { b->record_size = b->frame_size = 0xFFFFFFF8; });
     },
     kExitFailed, kExitDamaged, "contradict each other"},
    {"OtherByteOrder",
     [](const auto& place) {
       return WithHeader(place, [](Superblock* b) { b->byte_order_mark = kSwappedByteOrderMark; });
     },
     kExitFailed, kExitFailed, "the other byte order"},
    {"LaterLayout",
     [](const auto& place) {
       return WithHeader(place, [](Superblock* b) { b->layout_version = 99; });
     },
     kExitFailed, kExitFailed, "a layout that this program does not know"},
    {"OtherMagic", [](const auto& place) { return OtherRecords(place, "Weather", 72); },
     kExitFailed, kExitFailed, "its magic is 'Weather'"},
    {"OtherRecordSize",
     [](const auto& place) { return OtherRecords(place, "Zolrak-Packet-Database", 72); },
     kExitFailed, kExitFailed, "its records have 72 bytes"},
    {"NotPermitted",
     [](const auto& place) {
       EXPECT_EQ(chmod(SoundJournal(place).c_str(), 0), 0);
       return place.Path("journal");
     },
     kExitNotPermitted, kExitNotPermitted, "permission denied"},
};

INSTANTIATE_TEST_SUITE_P(Kinds, ExaminedFileTest, testing::ValuesIn(kBadFiles),
                         [](const auto& row) { return row.param.name; });

// What two superblocks tell, one tells as well; and without its state page a journal is searched.
TEST(ExamineTest, ShowsWhatCanBeReadOfADamagedJournal) {
  for (const std::uint64_t position : {std::uint64_t{500}, kPageSize + 500, kNextOffset}) {
    const TemporaryDirectory place;
    const std::string path = SoundJournal(place);
    Overwrite(path, position, std::string(8, '\xff'));
    EXPECT_EQ(RunCommand({"check", path}).status, kExitDamaged);
    EXPECT_EQ(RunCommand({"info", path}).status, 0);
    const std::string dump = RunCommand({"dump", path, "-o", "json"}).out;
    EXPECT_EQ(std::count(dump.begin(), dump.end(), '\n'), 2);
  }
}

TEST(ExamineTest, SavesTheRecordsOfAJournalWithoutSuperblocks) {
  const TemporaryDirectory place("a b");
  const std::string path = SoundJournal(place);
  const std::string saved = place.Path("saved");
  const std::string dump = RunCommand({"dump", path, "--hex"}).out;
  Overwrite(path, 0, std::string(kStateOffset, '\0'));
  const std::string before = ReadFile(path);
  EXPECT_EQ(RunCommand({"check", path}).status, kExitFailed);
  const Outcome outcome = RunCommand({"check", "--rescue", saved, path});
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_THAT(outcome.out, HasSubstr("2 records to " + saved));
  EXPECT_EQ(ReadFile(path), before);
  EXPECT_EQ(RunCommand({"check", saved}).status, 0);
  EXPECT_EQ(RunCommand({"dump", saved, "--hex"}).out, dump);
  EXPECT_EQ(RunCommand({"check", "--rescue", saved, path}).status, kExitFailed);
  EXPECT_EQ(RunCommand({"check", "--rescue", place.Path("x"), path, "--seed", ""}).status, 2);
  EXPECT_EQ(RunCommand({"check", path, "--seed", "1"}).status, 2) << "without --rescue";
}

TEST(ExamineTest, FileIsRequiredAndFormatsAreKnown) {
  for (const char* command : {"info", "check", "dump"}) {
    EXPECT_EQ(RunCommand({command}).status, kExitUsage);
    const Outcome outcome = RunCommand({command, "/nonexistent/file", "--output", "xml"});
    EXPECT_EQ(outcome.status, kExitUsage);
    EXPECT_THAT(outcome.err, HasSubstr("'xml' is not an output format: give text or json"));
  }
}

TEST(ExamineTest, FullOutputFails) {
  const TemporaryDirectory place;
  const std::string path = SoundJournal(place);
  const SocketDescriptor full(open("/dev/full", O_WRONLY | O_CLOEXEC));
  ProgramOptions options;
  options.output = full.get();
  for (const char* command : {"info", "check", "dump"}) {
    const Outcome outcome = RunCommand({command, path}, options);
    EXPECT_EQ(outcome.status, kExitFailed) << command;
    EXPECT_THAT(outcome.err, MatchesRegex("packetdb: [^\n]*No space left[^\n]*\n"));
  }
}

TEST(ExamineTest, FullOutputIsToldAsSuchHoweverLongTheAnswer) {
  const TemporaryDirectory place;
  Store(place.Path("journal"), std::vector<PacketDbItemPacked>(1000, RecordAt(0, 0)), 1000);
  const SocketDescriptor full(open("/dev/full", O_WRONLY | O_CLOEXEC));
  ProgramOptions options;
  options.output = full.get();
  const Outcome outcome = RunCommand({"check", place.Path("journal")}, options);
  EXPECT_EQ(outcome.status, kExitFailed);
  EXPECT_EQ(outcome.err, "packetdb: cannot write the output: No space left on device\n");
}

TEST(ExamineTest, DumpRefusesEmptyEndsOfTheRange) {
  const TemporaryDirectory place;
  for (const char* option : {"--from", "--to"}) {
    const Outcome outcome = RunCommand({"dump", SoundJournal(place), option, ""});
    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.out, "");
    EXPECT_THAT(outcome.err, HasSubstr(std::string(option) + ": was given an empty value; leave"));
  }
}

TEST(ExamineTest, ReaderThatGoesAwayEndsItQuietly) {
  const TemporaryDirectory place;
  Store(place.Path("journal"), std::vector<PacketDbItemPacked>(5000, RecordAt(0)), 5000);
  std::array<int, 2> ends{};
  ASSERT_EQ(pipe2(ends.data(), O_CLOEXEC), 0);
  const SocketDescriptor writing(ends[1]);
  close(ends[0]);
  ProgramOptions options;
  options.output = writing.get();
  const Outcome outcome = RunCommand({"dump", place.Path("journal")}, options);
  EXPECT_EQ(outcome.signal, SIGPIPE);
  EXPECT_EQ(outcome.err, "");
}

}  // namespace
}  // namespace packetdb::host::test
