// What the record file in memory does beyond the common contract: a reader's window, another
// capacity, planned results.
#include "tests/support/record_file.h"

#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <unistd.h>

#include "platform/record_file.h"
#include "tests/support/calls.h"

namespace packetdb::test {
namespace {

class MemoryFileTest : public ::testing::Test {
 protected:
  MemoryFileTest() {
    Calls().Reset();
    Files().Reset();
    Open(writer_, 3, 5);
  }
  static int Open(CDbFile& file, unsigned long capacity, int mode) {
    return file.Init("/f", "magic", 1, capacity, mode);
  }
  void Append(const std::string& letters) {
    for (const char letter : letters) writer_.AppendRecord(&letter);
  }
  // All that can be read at once.
  static std::string Letters(CDbFile& file) {
    std::string letters(100, '\0');
    const int read = file.ReadRecords(0, letters.data(), 100);
    return read < 0 ? "error" : letters.substr(0, static_cast<std::size_t>(read));
  }

  CDbFile writer_;
};

TEST_F(MemoryFileTest, ReaderSeesWhatWasThereWhenItAskedForTheNumber) {
  Append("ab");
  CDbFile reader;
  Open(reader, 3, 0);
  EXPECT_EQ(Letters(reader), "ab");
  Append("c");
  EXPECT_EQ(Letters(reader), "ab");
  EXPECT_EQ(reader.RecordCount(), 3);
  EXPECT_EQ(Letters(reader), "abc");
}

TEST_F(MemoryFileTest, ReaderMissesWhatWasOverwrittenSince) {
  Append("abc");
  CDbFile reader;
  Open(reader, 3, 0);
  Append("d");
  char letter = 'x';
  EXPECT_LT(reader.ReadRecord(0, &letter), 0);
  EXPECT_EQ(reader.ReadRecord(1, &letter), 0);
  EXPECT_EQ(letter, 'b');
}

TEST_F(MemoryFileTest, SmallerCapacityKeepsTheNewest) {
  Append("abc");
  Open(writer_, 2, 1);
  EXPECT_EQ(Letters(writer_), "bc");
  Append("d");
  EXPECT_EQ(Letters(writer_), "cd");
}

TEST_F(MemoryFileTest, LargerCapacityKeepsAll) {
  Append("abcd");
  Open(writer_, 5, 1);
  Append("ef");
  EXPECT_EQ(Letters(writer_), "bcdef");
}

TEST_F(MemoryFileTest, PlannedFailureHasNoEffect) {
  Calls().Script("AppendRecord", {-7});
  EXPECT_EQ(writer_.AppendRecord("a"), -7);
  EXPECT_EQ(writer_.RecordCount(), 0);
  EXPECT_EQ(writer_.AppendRecord("b"), 0);
}

TEST_F(MemoryFileTest, PlannedShortReadDeliversThatMany) {
  Append("abc");
  Calls().Script("ReadRecords", {2, -9});
  EXPECT_EQ(Letters(writer_), "ab");
  EXPECT_EQ(Letters(writer_), "error");
  EXPECT_EQ(Letters(writer_), "abc");
}

TEST_F(MemoryFileTest, FailsTheCallWithTheGivenNumber) {
  Append("abc");
  Calls().FailCall(1);
  EXPECT_EQ(Letters(writer_), "abc");
  EXPECT_FALSE(Calls().FaultFired());
  EXPECT_EQ(Letters(writer_), "error");
  EXPECT_TRUE(Calls().FaultFired());
  EXPECT_EQ(Letters(writer_), "abc");
}

TEST_F(MemoryFileTest, NotesEveryCallWithItsArguments) {
  char letter = 'a';
  Calls().Forget();
  writer_.AppendRecord(&letter);
  writer_.WriteRecord(0, &letter);
  writer_.ReadRecord(0, &letter);
  writer_.Done();
  EXPECT_THAT(Calls().All(), ::testing::ElementsAre("AppendRecord()", "WriteRecord(0)",
                                                    "ReadRecord(0)", "Done()"));
}

TEST_F(MemoryFileTest, NotesTheObjectOnRequest) {
  Files().ShowObjects();
  CDbFile first;
  CDbFile second;
  Calls().Forget();
  second.Done();
  first.Done();
  EXPECT_THAT(Calls().All(), ::testing::ElementsAre("2 Done()", "1 Done()"));
}

// What is done to the file's name on disk is done to the file.
TEST_F(MemoryFileTest, FollowsTheDiskOnRequest) {
  const std::string path = ::testing::TempDir() + "followed " + std::to_string(getpid());
  const std::string moved = path + ".moved";
  Files().FollowDisk();
  Files().Put(path, "magic", 1, {"a"});
  std::filesystem::rename(path, moved);
  EXPECT_EQ(Files().Find(path), nullptr);
  ASSERT_NE(Files().Find(moved), nullptr);
  EXPECT_EQ(Files().Find(moved)->records.front(), "a");
  std::filesystem::remove(moved);
  EXPECT_EQ(Files().Find(moved), nullptr);
}

}  // namespace
}  // namespace packetdb::test
