#include "host/record_file/result.h"

#include <cerrno>
#include <gmock/gmock.h>
#include <map>
#include <string>

namespace packetdb::host {
namespace {

// A code without a text of its own is one that nobody can look up.
TEST(RecordFileResult, EveryCodeHasItsOwnText) {
  const std::string unknown(DescribeRecordFileResult(-1));
  std::map<std::string, int> seen;
  for (int code = kFileLost; code < 0; ++code) {
    const std::string text(DescribeRecordFileResult(code));
    if (text == unknown) continue;
    EXPECT_TRUE(seen.emplace(text, code).second) << code << " and " << seen[text] << ": " << text;
  }
  EXPECT_EQ(seen.size(), 42U) << "one text per line of the enum that is not a success";
}

TEST(RecordFileResult, TheHostsCodesKeepAwayFromTheLibrarys) {
  const std::string unknown(DescribeRecordFileResult(-1));
  for (int code = -100; code < 0; ++code) {
    if (code == kOtherFormat) continue;
    EXPECT_EQ(DescribeRecordFileResult(code), unknown) << code;
  }
}

TEST(RecordFileResult, SuccessIsSaidToBeOne) {
  EXPECT_EQ(DescribeRecordFileResult(0), "success");
  EXPECT_EQ(DescribeRecordFileResult(17), "success");
}

TEST(RecordFileResult, NamesTheCauseOfASystemCallsFailure) {
  EXPECT_EQ(ResultFromErrno(ENOENT), kMissing);
  EXPECT_EQ(ResultFromErrno(ENOTDIR), kMissing);
  EXPECT_EQ(ResultFromErrno(EACCES), kNoPermission);
  EXPECT_EQ(ResultFromErrno(EPERM), kNoPermission);
  EXPECT_EQ(ResultFromErrno(EISDIR), kIsDirectory);
  EXPECT_EQ(ResultFromErrno(ELOOP), kIsSymlink);
  EXPECT_EQ(ResultFromErrno(ENXIO), kNotRegular);
  EXPECT_EQ(ResultFromErrno(ENAMETOOLONG), kBadPath);
  EXPECT_EQ(ResultFromErrno(ENOSPC), kNoSpace);
  EXPECT_EQ(ResultFromErrno(EDQUOT), kNoSpace);
  EXPECT_EQ(ResultFromErrno(EFBIG), kFileTooLarge);
  EXPECT_EQ(ResultFromErrno(EOVERFLOW), kFileTooLarge);
  EXPECT_EQ(ResultFromErrno(EMFILE), kNoDescriptor);
  EXPECT_EQ(ResultFromErrno(ENFILE), kNoDescriptor);
  EXPECT_EQ(ResultFromErrno(ENOMEM), kNoMemory);
  EXPECT_EQ(ResultFromErrno(EROFS), kReadOnlyDisk);
  EXPECT_EQ(ResultFromErrno(EAGAIN), kInUse);
  EXPECT_EQ(ResultFromErrno(EBUSY), kInUse);
  EXPECT_EQ(ResultFromErrno(ETXTBSY), kInUse);
  EXPECT_EQ(ResultFromErrno(EIO), kSystemError);
}

}  // namespace
}  // namespace packetdb::host
