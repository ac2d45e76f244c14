#include "host/journals/catalogue.h"

#include <filesystem>
#include <fmt/format.h>
#include <gmock/gmock.h>

#include "host/journals/error.h"
#include "tests/host/journals/support.h"
#include "tests/host/sources/temp_dir.h"

namespace packetdb::host::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::size_t kLargest = std::size_t{4} * 1024 * 1024;

class CatalogueFile : public testing::Test {
 protected:
  std::string LoadError() {
    return WhatOf<JournalError>([this] { Catalogue::Load(path_); });
  }
  // What is said of a catalogue with this text, behind its path.
  std::string ErrorAbout(const std::string& text) {
    WriteText(path_, text);
    const std::string error = LoadError();
    return error.starts_with(path_) ? error.substr(path_.size()) : error;
  }

  const TempDir directory_;
  const std::string path_ = directory_.Path("lan.group");
};

TEST_F(CatalogueFile, IsCreatedWithItsWindow) {
  EXPECT_EQ(Catalogue::LoadOrCreate(path_, 60).window(), 60);
  EXPECT_EQ(ReadText(path_), "packetdb-group 1\nwindow 60\n");
  EXPECT_THAT(NamesIn(directory_.Path()), ElementsAre("lan.group"));
}

TEST_F(CatalogueFile, KeepsTheWindowThatItHas) {
  Catalogue::LoadOrCreate(path_, 5);
  EXPECT_EQ(Catalogue::LoadOrCreate(path_, 60).window(), 5);
  EXPECT_EQ(ReadText(path_), "packetdb-group 1\nwindow 5\n");
}

TEST_F(CatalogueFile, IsReadBack) {
  WriteText(path_, "packetdb-group 1\nwindow 0\ninterface wan0\ninterface lan0\n");
  const Catalogue catalogue = Catalogue::Load(path_);
  EXPECT_EQ(catalogue.window(), 0);
  EXPECT_THAT(catalogue.interfaces(), ElementsAre("lan0", "wan0"));
}

TEST_F(CatalogueFile, ThatIsMissingIsAnErrorThatSaysWhatToDo) {
  EXPECT_EQ(LoadError(), path_ +
                             " is missing: it says which interfaces the journal beside it holds; "
                             "restore it from where the journal came");
  EXPECT_THAT(NamesIn(directory_.Path()), IsEmpty());
}

TEST_F(CatalogueFile, HasEachInterfaceOnDiskOnceItIsAdded) {
  Catalogue catalogue = Catalogue::LoadOrCreate(path_, 60);
  catalogue.Add("lan0");
  EXPECT_EQ(ReadText(path_), "packetdb-group 1\nwindow 60\ninterface lan0\n");
  catalogue.Add("wan0");
  EXPECT_EQ(ReadText(path_), "packetdb-group 1\nwindow 60\ninterface lan0\ninterface wan0\n");
  EXPECT_THAT(catalogue.interfaces(), ElementsAre("lan0", "wan0"));
}

TEST_F(CatalogueFile, HasNoInterfaceTwice) {
  Catalogue::LoadOrCreate(path_, 60).Add("lan0");
  Catalogue again = Catalogue::LoadOrCreate(path_, 60);
  again.Add("lan0");
  again.Add("lan0");
  EXPECT_EQ(ReadText(path_), "packetdb-group 1\nwindow 60\ninterface lan0\n");
}

TEST_F(CatalogueFile, TakesNoNameThatItCouldNotReadBack) {
  Catalogue catalogue = Catalogue::LoadOrCreate(path_, 60);
  for (const std::string name : {"", "a b", "lan0\ninterface wan0", "a/b"}) {
    EXPECT_EQ(WhatOf<JournalError>([&] { catalogue.Add(name); }),
              fmt::format("'{}' cannot be the name of an interface", name));
  }
  EXPECT_EQ(ReadText(path_), "packetdb-group 1\nwindow 60\n");
}

TEST_F(CatalogueFile, DoesNotKnowAnInterfaceThatCouldNotBeWritten) {
  Catalogue catalogue = Catalogue::LoadOrCreate(path_, 60);
  std::filesystem::remove(path_);
  EXPECT_THROW(catalogue.Add("lan0"), JournalError);
  EXPECT_THAT(catalogue.interfaces(), IsEmpty());
}

// Whoever adds may not be able to open the file any more by then.
TEST_F(CatalogueFile, GrowsThroughTheDescriptorThatIsKeptOpen) {
  Catalogue catalogue = Catalogue::LoadOrCreate(path_, 60);
  catalogue.KeepOpen();
  const std::string elsewhere = directory_.Path("elsewhere");
  std::filesystem::rename(path_, elsewhere);
  catalogue.Add("lan0");
  EXPECT_EQ(ReadText(elsewhere), "packetdb-group 1\nwindow 60\ninterface lan0\n");
}

TEST_F(CatalogueFile, IsReadUpToAHalfWrittenLastLine) {
  WriteText(path_, "packetdb-group 1\nwindow 60\ninterface lan0\ninterface w");
  EXPECT_THAT(Catalogue::Load(path_).interfaces(), ElementsAre("lan0"));
  WriteText(path_, "packetdb-group 1\nwindow 60\ninterface lan0\nint");
  EXPECT_THAT(Catalogue::Load(path_).interfaces(), ElementsAre("lan0"));
}

TEST_F(CatalogueFile, LosesAHalfWrittenLastLineToTheNextInterface) {
  WriteText(path_, "packetdb-group 1\nwindow 60\ninterface a-long-name-that-never-ended");
  Catalogue::LoadOrCreate(path_, 60).Add("lan0");
  EXPECT_EQ(ReadText(path_), "packetdb-group 1\nwindow 60\ninterface lan0\n");
}

TEST_F(CatalogueFile, NeedsItsFirstTwoLines) {
  EXPECT_EQ(ErrorAbout(""), ":1: the file ends too early");
  EXPECT_EQ(ErrorAbout("packetdb-group 1"), ":1: the file ends too early");
  EXPECT_EQ(ErrorAbout("packetdb-group 1\n"), ":2: the file ends too early");
  EXPECT_EQ(ErrorAbout("packetdb-group 1\nwindow 60"), ":2: the file ends too early");
}

TEST_F(CatalogueFile, IsToldByItsFirstLine) {
  EXPECT_EQ(ErrorAbout("packetdb-group 2\nwindow 60\n"), ":1: not the catalogue of a group");
  EXPECT_EQ(ErrorAbout("packetdb-group 1\r\nwindow 60\r\n"), ":1: not the catalogue of a group");
  EXPECT_EQ(ErrorAbout("\n"), ":1: not the catalogue of a group");
}

TEST_F(CatalogueFile, NeedsAWindowOfWholeSecondsInItsSecondLine) {
  for (const char* line :
       {"", "window", "window ", "window x", "window -1", "window 1.5", "window 60 ", "window 0x3c",
        "window 99999999999999999999", "Window 60", "interface lan0"}) {
    EXPECT_EQ(ErrorAbout(fmt::format("packetdb-group 1\n{}\n", line)),
              ":2: not the catalogue of a group")
        << line;
  }
}

TEST_F(CatalogueFile, HoldsInterfacesFromItsThirdLineOn) {
  for (const char* line :
       {"", "interface", "interface ", "interface a b", "interface a/b", "Interface lan0",
        "window 60", "interface 0123456789012345678901234567890x"}) {
    EXPECT_EQ(ErrorAbout(fmt::format("packetdb-group 1\nwindow 60\ninterface ok\n{}\n", line)),
              ":4: not the catalogue of a group")
        << line;
  }
}

TEST_F(CatalogueFile, AboveFourMebibytesIsNotRead) {
  WriteText(path_, std::string(kLargest + 1, 'x'));
  EXPECT_EQ(LoadError(),
            "cannot read " + path_ + ": 4194305 bytes are more than the 4194304 expected");
}

// A catalogue with interfaces if0, if1, ... of exactly `bytes` bytes; the last name fills up.
std::string CatalogueText(std::size_t bytes) {
  std::string text = "packetdb-group 1\nwindow 60\n";
  constexpr std::size_t kLongestLine = 10 + 31 + 1;
  for (int i = 0; text.size() + 2 * kLongestLine < bytes; ++i) {
    text += fmt::format("interface {:031}\n", i);
  }
  const std::size_t rest = bytes - text.size();
  const std::size_t half = rest / 2;
  return text +
         fmt::format("interface {:a>{}}\ninterface {:b>{}}\n", "", half - 11, "", rest - half - 11);
}

TEST_F(CatalogueFile, DoesNotGrowBeyondWhatIsRead) {
  WriteText(path_, CatalogueText(kLargest - 15));
  Catalogue catalogue = Catalogue::LoadOrCreate(path_, 60);
  EXPECT_EQ(WhatOf<JournalError>([&] { catalogue.Add("lan00"); }),
            path_ + ": no room for interface lan00: a group has at most 4194304 bytes of names");
  catalogue.Add("lan0");
  EXPECT_EQ(Catalogue::Load(path_).interfaces().count("lan0"), 1U);
}

}  // namespace
}  // namespace packetdb::host::test
