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
  for (int code = kSystemError; code < 0; ++code) {
    const std::string text(DescribeRecordFileResult(code));
    if (text == unknown) continue;
    EXPECT_TRUE(seen.emplace(text, code).second) << code << " and " << seen[text] << ": " << text;
  }
  EXPECT_EQ(seen.size(), 38U) << "one text per line of the enum that is not a success";
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
  EXPECT_EQ(ResultFromErrno(ENOSPC), kNoSpace);
  EXPECT_EQ(ResultFromErrno(EDQUOT), kNoSpace);
  EXPECT_EQ(ResultFromErrno(EFBIG), kFileTooLarge);
  EXPECT_EQ(ResultFromErrno(EMFILE), kNoDescriptor);
  EXPECT_EQ(ResultFromErrno(ENOMEM), kNoMemory);
  EXPECT_EQ(ResultFromErrno(EROFS), kReadOnlyDisk);
  EXPECT_EQ(ResultFromErrno(EIO), kSystemError);
}

}  // namespace
}  // namespace packetdb::host
