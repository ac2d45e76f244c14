// What a conversion does to the files on disk, and what happens when it cannot be done.
#include <boost/filesystem/operations.hpp>
#include <boost/filesystem/path.hpp>
#include <filesystem>
#include <fstream>
#include <string>

#include "tests/library/convert_fixture.h"
#include "tests/support/allocation.h"

namespace packetdb::test {
namespace {

// Here the record files do not follow the disk: what lies there is put there by hand.
class ConvertDisk : public ConvertEither {
 protected:
  ConvertDisk() { Detach(); }
  void Detach() {
    Start();
    ResetPlatform();
    storage_ = std::make_unique<DbFileStorage>();
    PutOld(2);
  }

  static void Write(const std::string& path, const std::string& text) {
    std::ofstream(path) << text;
  }
  static std::string Read(const std::string& path) {
    std::ifstream file(path);
    std::string text;
    std::getline(file, text);
    return text;
  }
  void PutDirectoryAt(const std::string& path) const {
    std::filesystem::create_directory(path);
    Write(path + "/inside", "x");
  }
  // The paths that the filesystem error of `act` names: one when removing failed, two when moving.
  template <class Act>
  static Strings PathsThatFailed(Act act) {
    try {
      act();
    } catch (const boost::filesystem::filesystem_error& failure) {
      if (failure.path2().empty()) return {failure.path1().string()};
      return {failure.path1().string(), failure.path2().string()};
    }
    return {};
  }
  Strings Removing() const { return {path_}; }
  Strings Moving() const { return {temporary_, path_}; }
};

INSTANTIATE_TEST_SUITE_P(Either, ConvertDisk, BothFormats(), FormatName);

TEST_P(ConvertDisk, MovesTheNewFileIntoThePlaceOfTheOld) {
  Write(path_, "old");
  Write(temporary_, "new");
  Convert();
  EXPECT_EQ(Names(), Strings{"journal"});
  EXPECT_EQ(Read(path_), "new");
}

TEST_P(ConvertDisk, FileThatIsGoneAlreadyNeedsNotBeRemoved) {
  Write(temporary_, "new");
  Convert();
  EXPECT_EQ(Read(path_), "new");
}

TEST_P(ConvertDisk, TouchesNothingWhenTheOldFileDoesNotOpen) {
  Write(path_, "old");
  Write(temporary_, "new");
  Calls().Script("Init", {-6});
  Convert();
  EXPECT_EQ(Read(path_), "old");
  EXPECT_EQ(Read(temporary_), "new");
}

TEST_P(ConvertDisk, TouchesNothingWhenTheNewFileCannotBeMade) {
  Write(path_, "old");
  Write(temporary_, "new");
  Calls().Script("Init", {0, -28});
  Convert();
  EXPECT_EQ(Read(path_), "old");
  EXPECT_EQ(Read(temporary_), "new");
}

TEST_P(ConvertDisk, ThrowsWhenTheOldFileCannotBeRemoved) {
  PutDirectoryAt(path_);
  Write(temporary_, "new");
  EXPECT_EQ(PathsThatFailed([this] { Convert(); }), Removing());
  EXPECT_EQ(Read(path_ + "/inside"), "x");
  EXPECT_EQ(Read(temporary_), "new") << "not moved";
}

TEST_P(ConvertDisk, ThrowsWhenTheNewFileCannotBeMoved) {
  Write(path_, "old");
  EXPECT_EQ(PathsThatFailed([this] { Convert(); }), Moving());
  EXPECT_EQ(Names(), Strings{}) << "the old file was removed before";
}

// So nothing is left open when that throws.
TEST_P(ConvertDisk, BothFilesAreClosedBeforeTheDiskIsTouched) {
  Files().ShowObjects();
  PutDirectoryAt(path_);
  EXPECT_EQ(PathsThatFailed([this] { Convert(); }), Removing());
  const Strings& calls = Calls().All();
  EXPECT_EQ(Strings(calls.end() - 3, calls.end()),
            (Strings{"2 Done()", "2 ~CDbFile()", "1 Done()"}));
}

TEST_P(ConvertDisk, ErrorComesOutOfInitWhenTheOldFileCannotBeRemoved) {
  PutDirectoryAt(path_);
  Write(temporary_, "new");
  EXPECT_EQ(PathsThatFailed([this] { Init(); }), Removing());
  EXPECT_FALSE(Files().Find(path_)->has_writer);
}

TEST_P(ConvertDisk, ErrorComesOutOfInitWhenTheNewFileCannotBeMoved) {
  Write(path_, "old");
  EXPECT_EQ(PathsThatFailed([this] { Init(); }), Moving());
  EXPECT_EQ(Names(), Strings{});
}

TEST_P(ConvertDisk, StorageWorksAfterAnErrorOfTheDisk) {
  PutDirectoryAt(path_);
  EXPECT_EQ(PathsThatFailed([this] { Init(); }), Removing());
  EXPECT_EQ(storage_->Init("/elsewhere", 10, 5, 0), 0);
  Clock().SetSince1980(1);
  const Event event = EventAt(1);
  storage_->AddRecord(&event, 0, "");
  EXPECT_EQ(storage_->RecordCount(), 1);
}

TEST_P(ConvertDisk, ErrorOfTheDiskLeaksNothing) {
  const auto alive_after_an_error = [this] {
    PutDirectoryAt(path_);
    EXPECT_EQ(PathsThatFailed([this] { Init(); }), Removing());
    Detach();
    return AllocationsAlive();
  };
  const auto first = alive_after_an_error();
  EXPECT_EQ(alive_after_an_error(), first);
}

}  // namespace
}  // namespace packetdb::test
