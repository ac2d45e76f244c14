// Files that give nothing, and say why.
#include <gmock/gmock.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include "tests/host/sources/capture_writer.h"
#include "tests/host/sources/decode.h"
#include "tests/host/sources/temp_dir.h"

namespace packetdb::host::test {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

// Gives up root's right to read everything, if this is root.
class WithoutPrivilege {
 public:
  WithoutPrivilege() : user_(geteuid()) {
    if (user_ == 0 && seteuid(kNobody) != 0) ADD_FAILURE() << "cannot give up privileges";
  }
  ~WithoutPrivilege() {
    if (user_ == 0 && seteuid(0) != 0) ADD_FAILURE() << "cannot take privileges back";
  }
  WithoutPrivilege(const WithoutPrivilege&) = delete;
  WithoutPrivilege& operator=(const WithoutPrivilege&) = delete;

 private:
  static constexpr uid_t kNobody = 65534;
  uid_t user_;
};

class UnusableCapture : public testing::Test {
 protected:
  // How opening fails; the failure is known before the first event is asked for.
  CaptureFailure Open(const std::string& path) {
    CaptureReader reader(path, {});
    EXPECT_TRUE(reader.failure());
    EXPECT_FALSE(reader.Next());
    EXPECT_EQ(reader.counters().packets(), 0U);
    return reader.failure().value_or(CaptureFailure{});
  }

  TempDir dir_;
};

TEST_F(UnusableCapture, MissingFile) {
  const CaptureFailure failure = Open(dir_.Path("missing"));
  EXPECT_EQ(failure.error, CaptureError::kCannotOpen);
  EXPECT_EQ(failure.text, dir_.Path("missing") + ": cannot open: No such file or directory");
}

TEST_F(UnusableCapture, NoPermission) {
  const std::string path = dir_.File("secret", PcapFile(kLinkRaw).bytes());
  ASSERT_EQ(chmod(path.c_str(), 0), 0);
  const WithoutPrivilege without_privilege;
  const CaptureFailure failure = Open(path);
  EXPECT_EQ(failure.error, CaptureError::kCannotOpen);
  EXPECT_EQ(failure.text, path + ": cannot open: Permission denied");
}

TEST_F(UnusableCapture, Directory) {
  const CaptureFailure failure = Open(dir_.Path());
  EXPECT_EQ(failure.error, CaptureError::kDirectory);
  EXPECT_EQ(failure.text, dir_.Path() + ": is a directory");
}

TEST_F(UnusableCapture, EmptyFile) {
  const CaptureFailure failure = Open(dir_.File("empty", {}));
  EXPECT_EQ(failure.error, CaptureError::kEmpty);
  EXPECT_EQ(failure.text, dir_.Path("empty") + ": is empty");
}

TEST_F(UnusableCapture, TextFile) {
  const CaptureFailure failure = Open(dir_.File("notes.txt", Text("Dear diary, today\n")));
  EXPECT_EQ(failure.error, CaptureError::kNotCapture);
  EXPECT_EQ(failure.text, dir_.Path("notes.txt") + ": not a capture file: unknown file format");
}

TEST_F(UnusableCapture, HeaderCutAtEveryLength) {
  const Bytes file = PcapFile(kLinkRaw).bytes();
  for (std::size_t length = 1; length < file.size(); ++length) {
    const CaptureFailure failure = Open(dir_.File("cut", FirstOf(file, length)));
    EXPECT_EQ(failure.error, CaptureError::kNotCapture) << length;
  }
}

TEST_F(UnusableCapture, UnknownLinkTypeIsNamed) {
  const CaptureFailure failure = Open(dir_.File("prism", PcapFile(kLinkPrism).bytes()));
  EXPECT_EQ(failure.error, CaptureError::kUnsupportedLinkType);
  EXPECT_EQ(failure.text, dir_.Path("prism") + ": unsupported link type: 119 (PRISM_HEADER)");
}

TEST_F(UnusableCapture, LinkTypeWithoutANameIsNumbered) {
  const CaptureFailure failure = Open(dir_.File("new", PcapFile(65000).bytes()));
  EXPECT_EQ(failure.text, dir_.Path("new") + ": unsupported link type: 65000");
}

TEST_F(UnusableCapture, ArchaicVersion) {
  Bytes file = PcapFile(kLinkRaw).bytes();
  file[4] = 1;
  const CaptureFailure failure = Open(dir_.File("old", file));
  EXPECT_EQ(failure.error, CaptureError::kNotCapture);
  EXPECT_THAT(failure.text, StartsWith(dir_.Path("old") + ": not a capture file: "));
  EXPECT_THAT(failure.text, HasSubstr("archaic"));
}

}  // namespace
}  // namespace packetdb::host::test
