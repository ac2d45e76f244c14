// The commands that look at a journal file, as real processes: beside a writer, and on files of
// every wrong kind. Whatever they are given, they change nothing.
#include <array>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <functional>
#include <gmock/gmock.h>
#include <map>
#include <nlohmann/json.hpp>
#include <ostream>
#include <sstream>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "host/record_file/header.h"
#include "host/record_file/probe.h"
#include "tests/host/cli/stored_journal.h"
#include "tests/system/support/eventually.h"
#include "tests/system/support/program.h"
#include "tests/system/support/temporary_directory.h"

namespace packetdb::host::test {
namespace {

using nlohmann::json;
using testing::AllOf;
using testing::HasSubstr;
using testing::MatchesRegex;

constexpr int kExitNotPermitted = 4;
constexpr int kExitDamaged = 5;
constexpr int kExitFailed = 7;
constexpr int kExitInUse = 8;

std::vector<json> Lines(const std::string& text) {
  std::vector<json> values;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    values.push_back(json::parse(line));
  }
  return values;
}

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

// The record `number` as the writer below makes it, overwritten `version` times.
PacketDbItemPacked Made(std::uint32_t number, std::uint32_t version) {
  PacketDbItemPacked record = RecordAt(number / 1000, version + 1);
  record.m_SrcIp = number;
  return record;
}

// A process that appends to a journal and overwrites its records, as fast as it can.
class BusyWriter {
 public:
  BusyWriter(const std::string& path, unsigned long capacity) : pid_(fork()) {
    if (pid_ == 0) {
      Write(path, capacity);
    }
    EXPECT_TRUE(Eventually([&] { return Appended(path) > 2 * capacity; }));
  }
  ~BusyWriter() {
    kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
  }
  BusyWriter(const BusyWriter&) = delete;
  BusyWriter& operator=(const BusyWriter&) = delete;

  bool IsAtWork() const { return waitpid(pid_, nullptr, WNOHANG) == 0; }

 private:
  [[noreturn]] static void Write(const std::string& path, unsigned long capacity) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    CDbFile file;
    OpenToWrite(file, path, JournalFormat::k4, capacity);
    for (std::uint32_t number = 0;; ++number) {
      const int ticket = AppendTo(file, JournalFormat::k4, Made(number, 0));
      for (std::uint32_t version = 1; ticket >= 0 && version <= 3; ++version) {
        const PacketDbItemPacked record = Made(number, version);
        file.WriteRecord(ticket, &record);
      }
      if (ticket < 0) {
        _exit(1);
      }
    }
  }

  static std::uint64_t Appended(const std::string& path) {
    RecordFileInfo info;
    return ProbeRecordFile(path, &info) == 0 ? info.next : 0;
  }

  pid_t pid_;
};

class BesideAWriter : public testing::TestWithParam<unsigned long> {
 protected:
  const TemporaryDirectory place_{"a b"};
  const std::string path_ = place_.Path("busy.journal");
  const BusyWriter writer_{path_, GetParam()};
};

TEST_P(BesideAWriter, InfoTellsWhatIsThere) {
  const Outcome outcome = RunCommand({"info", path_, "--output", "json"});
  ASSERT_EQ(outcome.status, 0) << outcome.err;
  const json info = json::parse(outcome.out);
  EXPECT_EQ(info["writer"], true);
  EXPECT_EQ(info["records"], GetParam());
  EXPECT_EQ(info["overwriting"], true);
  EXPECT_LE(info["records_read"].get<std::uint64_t>(), GetParam());
  EXPECT_TRUE(writer_.IsAtWork());
}

TEST_P(BesideAWriter, CheckFindsNoDamageAndSaysThatItIsInUse) {
  const Outcome outcome = RunCommand({"check", path_, "--output", "json"});
  EXPECT_EQ(outcome.status, kExitInUse) << outcome.out << outcome.err;
  const json check = json::parse(outcome.out);
  EXPECT_EQ(check["result"], "in_use");
  EXPECT_EQ(check["writer"], true);
  EXPECT_TRUE(check["findings"].empty()) << check["findings"];
  EXPECT_TRUE(writer_.IsAtWork());
}

TEST_P(BesideAWriter, DumpShowsOnlyRecordsThatWereWritten) {
  const Outcome outcome = RunCommand({"dump", path_, "--output", "json"});
  ASSERT_EQ(outcome.status, 0) << outcome.err;
  std::uint64_t last = 0;
  for (const json& line : Lines(outcome.out)) {
    ASSERT_GE(line["record"], last);
    last = line["record"];
    if (line["state"] == "gone") {
      continue;
    }
    ASSERT_EQ(line["state"], "whole");
    const PacketDbItemPacked made =
        Made(static_cast<std::uint32_t>(last), line["m_Count"].get<std::uint32_t>() - 1);
    ASSERT_EQ(line["m_SrcIp"], +made.m_SrcIp);
    ASSERT_EQ(line["m_CountCopy"], +made.m_CountCopy);
    ASSERT_EQ(line["m_PacketSize"], +made.m_PacketSize);
    ASSERT_EQ(line["m_FirstTime"], +made.m_FirstTime);
  }
  EXPECT_TRUE(writer_.IsAtWork());
}

INSTANTIATE_TEST_SUITE_P(Capacities, BesideAWriter, testing::Values(10UL, 2000UL),
                         testing::PrintToStringParamName());

TEST(ExamineTest, DumpIsTheJournal) {
  const TemporaryDirectory place;
  std::vector<PacketDbItemPacked> records;
  for (std::uint32_t i = 0; i < 3000; ++i) records.push_back(Made(i, i % 5));
  const std::string path = place.Path("all.journal");
  Store(path, records, 2000);
  const std::vector<json> lines = Lines(RunCommand({"dump", path, "-o", "json", "--hex"}).out);
  ASSERT_EQ(lines.size(), 2000U);
  for (std::size_t i = 0; i < lines.size(); ++i) {
    const PacketDbItemPacked& record = records[1000 + i];
    ASSERT_EQ(lines[i]["record"], 1000 + i);
    ASSERT_EQ(lines[i]["m_SrcIp"], +record.m_SrcIp);
    ASSERT_EQ(lines[i]["m_Count"], +record.m_Count);
    ASSERT_EQ(lines[i]["first_seen_unix"], record.m_FirstTime + TIME_1980_OFFSET);
    std::string bytes;
    for (const char byte : StoredAs(JournalFormat::k4, record)) {
      constexpr char kDigits[] = "0123456789abcdef";
      bytes += kDigits[static_cast<unsigned char>(byte) / 16];
      bytes += kDigits[static_cast<unsigned char>(byte) % 16];
    }
    ASSERT_EQ(lines[i]["hex"], bytes);
  }
}

TEST(ExamineTest, LooksAtJournalsOfEveryFormat) {
  const TemporaryDirectory place("a b");
  for (const JournalFormat format : {JournalFormat::k3, JournalFormat::k41, JournalFormat::k4}) {
    const std::string name(FormatName(format));
    Store(place.Path(name), {RecordAt(0), RecordAt(1)}, 10, format);
    for (const char* command : {"info", "check", "dump"}) {
      const Outcome outcome = RunCommand({command, place.Path(name), "-o", "json"});
      EXPECT_EQ(outcome.status, 0) << command << " " << outcome.err;
      EXPECT_EQ(Lines(outcome.out).front()["format"], name);
    }
  }
}

TEST(ExamineTest, ChangesNothingAndLetsAWriterIn) {
  const TemporaryDirectory place;
  const std::string path = place.Path("all.journal");
  Store(path, {RecordAt(0), RecordAt(1)});
  Overwrite(path, 4160, "\x02");  // an interrupted overwrite stays one
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

// The sound journal with one number of its header changed under a good checksum.
std::string WithHeader(const TemporaryDirectory& place,
                       const std::function<void(HeaderPage*)>& change) {
  const std::string path = SoundJournal(place);
  std::string bytes = ReadFile(path).substr(0, sizeof(HeaderPage));
  HeaderPage header = {};
  bytes.copy(reinterpret_cast<char*>(&header), sizeof header);
  change(&header);
  header.checksum = HeaderChecksum(header);
  Overwrite(path, 0, std::string(reinterpret_cast<const char*>(&header), sizeof header));
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
    {"TruncatedHeader",
     [](const auto& place) {
       const std::string path = SoundJournal(place);
       std::filesystem::resize_file(path, 1000);
       return path;
     },
     kExitFailed, kExitDamaged, "shorter than its header says"},
    {"TruncatedSlots",
     [](const auto& place) {
       const std::string path = SoundJournal(place);
       std::filesystem::resize_file(path, 8200);
       return path;
     },
     kExitFailed, kExitDamaged, "shorter than its header says"},
    {"TooLong",
     [](const auto& place) {
       const std::string path = SoundJournal(place);
       std::filesystem::resize_file(path, 100000);
       return path;
     },
     kExitFailed, kExitDamaged, "longer than its header says"},
    {"DamagedHeader",
     [](const auto& place) {
       const std::string path = SoundJournal(place);
       Overwrite(path, 500, "x");
       return path;
     },
     kExitFailed, kExitDamaged, "the header of the record file is damaged"},
    {"AbsurdHeader",
     [](const auto& place) {
       return WithHeader(place, [](HeaderPage* h) { h->capacity = h->slot_count = ~0ULL; });
     },
     kExitFailed, kExitDamaged, "contradict each other"},
    {"HugeSlots",
     [](const auto& place) {
       return WithHeader(place, [](HeaderPage* h) { h->record_size = h->slot_size = 0xFFFFFFF8; });
     },
     kExitFailed, kExitDamaged, "contradict each other"},
    {"OtherByteOrder",
     [](const auto& place) {
       return WithHeader(place, [](HeaderPage* h) { h->byte_order_mark = kSwappedByteOrderMark; });
     },
     kExitFailed, kExitFailed, "the other byte order"},
    {"LaterLayout",
     [](const auto& place) {
       return WithHeader(place, [](HeaderPage* h) { h->layout_version = 99; });
     },
     kExitFailed, kExitFailed, "a layout that this program does not know"},
    {"DamagedState",
     [](const auto& place) {
       const std::string path = SoundJournal(place);
       Overwrite(path, 4096, std::string(8, '\xff'));
       return path;
     },
     kExitFailed, kExitDamaged, "the state page of the record file is damaged"},
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

TEST(ExamineTest, FileIsRequiredAndFormatsAreKnown) {
  for (const char* command : {"info", "check", "dump"}) {
    constexpr int kExitUsage = 2;
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
