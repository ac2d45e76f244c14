// What is at a journal's path but is no journal: every writer and every reader says why in one
// line, and leaves it as it is.
#include <filesystem>
#include <gmock/gmock.h>
#include <ostream>
#include <sys/stat.h>
#include <unistd.h>

#include "host/journals/open_journals.h"
#include "packetdb/journal_format.h"
#include "tests/host/journals/old_journals.h"
#include "tests/host/journals/support.h"
#include "tests/host/record_file/child.h"
#include "tests/host/record_file/disk.h"

namespace packetdb::host::test {
namespace {

using testing::ElementsAre;

void MakeTruncated(const std::string& path) {
  MakeOld(path, JournalFormat::k3, 5);
  std::filesystem::resize_file(path, 1000);
}

// A header whose numbers contradict each other, under a checksum that is right.
void MakeAbsurd(const std::string& path) {
  MakeOld(path, JournalFormat::k41, 5);
  Bytes bytes = ReadBytes(path);
  Superblock block = SuperblockOf(bytes);
  block.slot_count = ~std::uint64_t{0};
  block.capacity = std::uint64_t{1} << 63U;
  PutSoundSuperblock(block, &bytes);
  WriteBytes(path, bytes);
}

void MakeLink(const std::string& path) {
  const std::string elsewhere = path + ".elsewhere";
  MakeOld(elsewhere, JournalFormat::k3, 5);
  std::filesystem::create_symlink(elsewhere, path);
}

struct Unusable {
  const char* name;
  void (*make)(const std::string& path);
  const char* reason;
};

void PrintTo(const Unusable& row, std::ostream* out) { *out << row.name; }

const Unusable kUnusable[] = {
    {"Directory", [](const std::string& path) { std::filesystem::create_directory(path); },
     "it is a directory"},
    {"Fifo", [](const std::string& path) { EXPECT_EQ(mkfifo(path.c_str(), 0600), 0); },
     "it is not a regular file"},
    {"SymbolicLink", MakeLink, "it is a symbolic link, which is not followed"},
    {"EmptyFile", [](const std::string& path) { WriteText(path, ""); }, "the file is empty"},
    {"Text", [](const std::string& path) { WriteText(path, std::string(9000, 'x')); },
     "it is not a record file"},
    {"TruncatedHeader", MakeTruncated, "the record file is shorter than its header says"},
    {"AbsurdNumbers", MakeAbsurd,
     "the numbers in the header of the record file contradict each other"},
    {"UnknownMagic", [](const std::string& path) { MakeRecordFile(path, "Another", 60); },
     "it is a sound record file, but of another magic or record size"},
    {"UnknownRecordSize", [](const std::string& path) { MakeRecordFile(path, kFormat3Magic, 64); },
     "it is a sound record file, but of another magic or record size"},
};

class UnusableJournal : public testing::TestWithParam<Unusable> {
 protected:
  UnusableJournal() {
    WriteText(group_.directory() + "/lan.group", "packetdb-group 1\nwindow 60\n");
    GetParam().make(group_.Path());
  }
  std::string Error() const {
    return "cannot open journal " + group_.Path() + ": " + GetParam().reason;
  }

  const OldGroup group_;
};

TEST_P(UnusableJournal, IsRefusedByAWriterAndLeftAlone) {
  const auto before = Snapshot(group_.directory());
  EXPECT_EQ(group_.ErrorOfOpening(), Error());
  EXPECT_EQ(Snapshot(group_.directory()), before);
}

TEST_P(UnusableJournal, IsAProblemToAReaderAndLeftAlone) {
  const auto before = Snapshot(group_.directory());
  EXPECT_THAT(OpenJournals(group_.directory()).problems(), ElementsAre(Error()));
  EXPECT_EQ(Snapshot(group_.directory()), before);
}

INSTANTIATE_TEST_SUITE_P(Every, UnusableJournal, testing::ValuesIn(kUnusable),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(ForbiddenJournal, IsAProblemToAReaderAndAWriter) {
  const OldGroup group;
  WriteText(group.directory() + "/lan.group", "packetdb-group 1\nwindow 60\n");
  MakeOld(group.Path(), JournalFormat::k3, 5);
  ASSERT_EQ(chmod(group.directory().c_str(), 0755), 0);
  ASSERT_EQ(chmod(group.Path().c_str(), 0), 0);
  const std::string error = "cannot open journal " + group.Path() + ": permission denied";
  EXPECT_EQ(InChild([&] {
              if (!BecomeOrdinaryUser()) return 1;
              const std::vector<std::string> problems = OpenJournals(group.directory()).problems();
              const bool as_said = problems == std::vector<std::string>{error};
              return as_said && group.ErrorOfOpening() == error ? 0 : 1;
            }),
            0);
}

}  // namespace
}  // namespace packetdb::host::test
