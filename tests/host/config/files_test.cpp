// The files of a configuration: which are read, in which order, and what may be there instead.
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <sys/stat.h>

#include "host/config/load.h"
#include "tests/host/config/support.h"
#include "tests/host/sources/temp_dir.h"

namespace packetdb::host::test {
namespace {

using testing::ElementsAre;

class Files : public testing::Test {
 protected:
  std::string Write(const std::string& name, const std::string& text) const {
    const std::string path = directory_.Path(name);
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    std::ofstream(path, std::ios::binary) << text;
    return path;
  }
  Configuration Load(bool must_exist = true) const {
    return LoadConfiguration({main_, must_exist}, SmallSystem());
  }
  std::vector<std::string> Problems(bool must_exist = true) const {
    try {
      Load(must_exist);
    } catch (const ConfigurationError& error) {
      return error.problems();
    }
    return {};
  }
  std::string In(const std::string& name) const { return directory_.Path(name); }

  TempDir directory_;
  const std::string main_ = directory_.Path("c.toml");
};

TEST_F(Files, MissingFileGivesTheDefaultsUnlessSomebodyNamedIt) {
  EXPECT_EQ(Load(false), Read(""));
  EXPECT_THAT(Problems(), ElementsAre(main_ + ": cannot be read: No such file or directory"));
}

TEST_F(Files, EmptyFileGivesTheDefaults) {
  Write("c.toml", "");
  EXPECT_EQ(Load(), Read(""));
}

TEST_F(Files, FolderHasTheNameOfTheFile) {
  EXPECT_EQ(FolderBeside("/etc/packetdb/packetdb.toml"), "/etc/packetdb/packetdb.d");
  EXPECT_EQ(FolderBeside("/etc/other"), "/etc/other.d");
}

TEST_F(Files, LaterFilesWinForSingleKeys) {
  Write("c.toml", "[limits]\nrows = 1\ncolumns = 1\nidle_time = \"1s\"\n");
  Write("c.d/20.toml", "[limits]\nrows = 3\n");
  Write("c.d/10.toml", "[limits]\nrows = 2\ncolumns = 2\n");
  const LimitSettings limits = Load().limits;
  EXPECT_EQ(limits.rows, 3);
  EXPECT_EQ(limits.columns, 2);
  EXPECT_EQ(limits.idle_seconds, 1);
}

TEST_F(Files, ListsOfTablesFollowOneAnother) {
  Write("c.toml", "[[rule]]\nprefix = \"m\"\n");
  Write("c.d/20.toml", "[[rule]]\nprefix = \"b\"\n");
  Write("c.d/10.toml", "[[rule]]\nprefix = \"a\"\n[[rule]]\nprefix = \"c\"\n");
  std::vector<std::string> prefixes;
  for (const RuleSettings& rule : Load().rules) prefixes.push_back(rule.prefix);
  EXPECT_THAT(prefixes, ElementsAre("m", "a", "c", "b"));
}

TEST_F(Files, OtherListsAreSingleKeys) {
  Write("c.toml", "[socket]\nallowed_users = [\"root\"]\n");
  Write("c.d/1.toml", "[socket]\nallowed_users = [\"packetdb\"]\n");
  EXPECT_THAT(Load().socket.allowed_users, ElementsAre("packetdb"));
}

TEST_F(Files, AreInTheOrderOfTheBytesOfTheirNames) {
  for (const char* name : {"9", "10", "a", "B", "_"}) {
    Write(std::string("c.d/") + name + ".toml",
          std::string("user = \"packetdb\"\n[[rule]]\nprefix = \"") + name + "\"\n");
  }
  std::vector<std::string> prefixes;
  for (const RuleSettings& rule : Load(false).rules) prefixes.push_back(rule.prefix);
  EXPECT_THAT(prefixes, ElementsAre("10", "9", "B", "_", "a"));
}

TEST_F(Files, FolderIsReadWithoutTheFile) {
  Write("c.d/1.toml", "[limits]\nrows = 7\n");
  EXPECT_EQ(Load(false).limits.rows, 7);
}

TEST_F(Files, OtherNamesInTheFolderArePassedOver) {
  Write("c.d/1.toml.bak", "this is no TOML");
  Write("c.d/.1.toml", "this is no TOML");
  Write("c.d/README", "this is no TOML");
  EXPECT_TRUE(Problems(false).empty());
}

TEST_F(Files, DuplicatesAreFoundAcrossFiles) {
  Write("c.toml", "[[rule]]\nprefix = \"m\"\n");
  Write("c.d/1.toml", "\n[[rule]]\nprefix = \"m\"\n");
  EXPECT_THAT(Problems(),
              ElementsAre(In("c.d/1.toml") + ":3:10: prefix = \"m\" is there already, at " + main_ +
                          ":2:10"));
}

TEST_F(Files, AllProblemsOfAllFilesAreToldAtOnce) {
  const std::string nodes = Write("n.toml", "[[node]]\nid = 0\n");
  Write("c.toml", "[limits]\nrows = -1\ncolunms = 3\n[log]\nlevel = 9\n");
  Write("c.d/1.toml", "this is no TOML\n");
  Write("c.d/2.toml", "user = 5\nnodes_file = \"" + nodes + "\"\n");
  Surroundings surroundings = SmallSystem();
  surroundings.read_file = ReadTextFile;
  try {
    LoadConfiguration({main_, true}, surroundings);
    ADD_FAILURE() << "not refused";
  } catch (const ConfigurationError& error) {
    using testing::StartsWith;
    EXPECT_THAT(error.problems(),
                ElementsAre(StartsWith(main_ + ":2:8: rows = -1"),
                            StartsWith(main_ + ":3:1: unknown key 'colunms'"),
                            StartsWith(main_ + ":5:9: level = 9"),
                            StartsWith(In("c.d/1.toml") + ":1:6: this is no TOML: "),
                            StartsWith(In("c.d/2.toml") + ":1:8: user = 5"),
                            StartsWith(nodes + ":1:1: [[node]] has no 'network'"),
                            StartsWith(nodes + ":1:1: [[node]] has no 'name'"),
                            StartsWith(nodes + ":2:6: id = 0")));
    EXPECT_EQ(std::string(error.what()), error.problems()[0] + " (and 7 problems more)");
  }
}

TEST_F(Files, AFolderInPlaceOfAFileIsRefused) {
  std::filesystem::create_directory(main_);
  EXPECT_THAT(Problems(false), ElementsAre(main_ + ": is a directory"));
}

TEST_F(Files, AFileInPlaceOfTheFolderIsRefused) {
  Write("c.d", "");
  EXPECT_THAT(Problems(false), ElementsAre(In("c.d") + ": cannot be read: Not a directory"));
}

TEST_F(Files, APipeOrADeviceIsRefusedAtOnce) {
  ASSERT_EQ(mkfifo(main_.c_str(), 0600), 0);
  EXPECT_THAT(Problems(false), ElementsAre(main_ + ": is not a regular file"));
  std::filesystem::remove(main_);
  std::filesystem::create_symlink("/dev/zero", main_);
  EXPECT_THAT(Problems(false), ElementsAre(main_ + ": is not a regular file"));
}

TEST_F(Files, ALinkToAFileIsFollowed) {
  Write("elsewhere", "[limits]\nrows = 8\n");
  std::filesystem::create_symlink(In("elsewhere"), main_);
  EXPECT_EQ(Load().limits.rows, 8);
}

TEST_F(Files, AFileThatIsTooLargeIsRefusedUnread) {
  Write("c.toml", "");
  std::filesystem::resize_file(main_, std::uintmax_t{1} << 30U);
  EXPECT_THAT(Problems(),
              ElementsAre(main_ + ": is larger than 1048576 bytes, which is the limit"));
}

TEST_F(Files, AFileMayHaveAMebibyte) {
  const std::string line = "#" + std::string(1022, 'x') + "\n";
  std::string text;
  for (int i = 0; i < 1024; ++i) text += line;
  Write("c.toml", text);
  EXPECT_EQ(ReadTextFile(main_, 1 << 20).text.size(), std::size_t{1} << 20U);
  EXPECT_TRUE(Problems().empty());
  Write("c.toml", text + "\n");
  EXPECT_THAT(Problems(),
              ElementsAre(main_ + ": is larger than 1048576 bytes, which is the limit"));
}

TEST_F(Files, AFileThatSaysNothingOfItsSizeHasTheSameLimit) {
  EXPECT_EQ(ReadTextFile("/proc/self/status", 16).problem,
            "is larger than 16 bytes, which is the limit");
  EXPECT_NE(ReadTextFile("/proc/self/status", 1 << 20).text, "");
}

TEST_F(Files, AFolderHasAtMost256OfThem) {
  for (int i = 0; i < 257; ++i) Write("c.d/" + std::to_string(i) + ".toml", "");
  EXPECT_THAT(Problems(false),
              ElementsAre(In("c.d") + ": there are 257 files in it, more than 256"));
}

TEST_F(Files, AUserOfThisMachineIsKnown) {
  const Surroundings system = SystemSurroundings();
  EXPECT_TRUE(system.has_user("root"));
  EXPECT_TRUE(system.has_group("root"));
  EXPECT_FALSE(system.has_user("no-such-user-here"));
  EXPECT_FALSE(system.has_group("no-such-group-here"));
}

TEST_F(Files, AFilterIsWhatThisMachineCanCapture) {
  const Surroundings system = SystemSurroundings();
  EXPECT_EQ(system.why_no_filter("tcp port 443"), std::nullopt);
  EXPECT_NE(system.why_no_filter("tcp and and"), std::nullopt);
}

}  // namespace
}  // namespace packetdb::host::test
