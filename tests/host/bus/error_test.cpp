#include "host/bus/error.h"

#include <cerrno>
#include <gtest/gtest.h>
#include <set>

namespace packetdb::host {
namespace {

TEST(BusErrors, HaveDistinctNumbersNamesAndTexts) {
  std::set<int> codes;
  std::set<std::string_view> names;
  std::set<std::string_view> texts;
  for (const BusErrorRow& row : AllBusErrors()) {
    EXPECT_TRUE(codes.insert(static_cast<int>(row.code)).second) << row.name;
    EXPECT_TRUE(names.insert(row.name).second) << row.name;
    EXPECT_TRUE(texts.insert(row.text).second) << row.text;
    EXPECT_EQ(ErrorText(row.code), row.text);
  }
  EXPECT_GT(codes.size(), 40u);
}

TEST(BusErrors, KeepTheNumbersThatTheLibraryKnows) {
  EXPECT_EQ(static_cast<int>(BusError::kReadFailed), 7);
  EXPECT_EQ(static_cast<int>(BusError::kWriteFailed), 8);
}

TEST(BusErrors, HaveATextForNumbersThatAreNone) {
  EXPECT_EQ(ErrorText(static_cast<BusError>(12345)), "unknown error");
}

TEST(BusErrors, SayWhatTheyHappenedTo) {
  EXPECT_EQ(MakeFailure(BusError::kRefused, "/run/x").text, "nobody listens on the socket: /run/x");
  EXPECT_EQ(MakeFailure(BusError::kRefused).text, "nobody listens on the socket");
  EXPECT_EQ(MakeSystemFailure(ENOENT, "/run/x").text,
            "the path does not exist: /run/x (No such file or directory)");
}

TEST(BusErrors, ComeFromErrnoByTheirMeaning) {
  EXPECT_EQ(FromErrno(ENOENT), BusError::kNoSuchSocket);
  EXPECT_EQ(FromErrno(ENOTDIR), BusError::kNoSuchSocket);
  EXPECT_EQ(FromErrno(ECONNREFUSED), BusError::kRefused);
  EXPECT_EQ(FromErrno(EACCES), BusError::kNotPermitted);
  EXPECT_EQ(FromErrno(EPERM), BusError::kNotPermitted);
  EXPECT_EQ(FromErrno(EPROTOTYPE), BusError::kNotASocket);
  EXPECT_EQ(FromErrno(EAGAIN), BusError::kTimedOut);
  EXPECT_EQ(FromErrno(EPIPE), BusError::kClosedMidway);
  EXPECT_EQ(FromErrno(EMFILE), BusError::kTooManyFiles);
  EXPECT_EQ(FromErrno(EIO), BusError::kSystem);
}

TEST(BusErrors, OfTheProtocolAreToldFromThoseOfTheConnection) {
  EXPECT_TRUE(IsMalformed(BusError::kBadFrameLength));
  EXPECT_TRUE(IsMalformed(BusError::kRequestTooLarge));
  EXPECT_FALSE(IsMalformed(BusError::kTimedOut));
  EXPECT_FALSE(IsMalformed(BusError::kBadPath));
}

}  // namespace
}  // namespace packetdb::host
