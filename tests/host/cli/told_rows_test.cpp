// Asking a daemon that may be of another release, or not be one at all.
#include "host/cli/told_rows.h"

#include <boost/shared_ptr.hpp>
#include <gmock/gmock.h>
#include <sys/socket.h>
#include <thread>

#include "host/bus/answer_code.h"
#include "host/bus/commands.h"
#include "host/status/text_rows.h"
#include "tests/host/bus/support.h"
#include "tests/host/cli/captured.h"

namespace packetdb::host::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

// What asking a server that handles the command like this comes to.
struct Asked {
  explicit Asked(const FunctionHandler::Function& handler) {
    Dispatcher dispatcher;
    if (handler) Register(dispatcher, kCommandStatus, handler);
    struct Pair pair;  // others of this target mean the matcher
    ServerThread server(pair.server, dispatcher);
    const Captured errors(stderr);
    status = AskForRows(pair.client, kCommandStatus, &rows);
    complaint = errors.Text();
    shutdown(pair.client.fd(), SHUT_RDWR);
  }

  ExitCode status = kExitOk;
  ToldRows rows = {OrderedJson("untouched")};
  std::string complaint;
};

FunctionHandler::Function Telling(const std::vector<std::string>& rows) {
  return [rows](CAbstractPacketOptions* message) { return SendTextRows(*message, rows); };
}

TEST(ToldRowsTest, AreTheObjectsThatTheDaemonSends) {
  const Asked asked(Telling({R"({"kind":"daemon","version":"1"})", R"({"kind":"x"})"}));
  EXPECT_EQ(asked.status, kExitOk);
  EXPECT_EQ(asked.complaint, "");
  ASSERT_EQ(asked.rows.size(), 2U);
  EXPECT_EQ(asked.rows[0].at("version"), "1");
  EXPECT_THAT(OfKind(asked.rows, "x"), ElementsAre(asked.rows[1]));
}

TEST(ToldRowsTest, MayBeNone) {
  EXPECT_EQ(Asked(Telling({})).status, kExitOk);
  EXPECT_TRUE(Asked(Telling({})).rows.empty());
}

TEST(ToldRowsTest, AreRefusedWhereTheyAreNoObjectsWithAKind) {
  for (const char* row :
       {"", "{", "[]", "5", "{}", R"({"kind":5})", "\xff", "{\"kind\":\"a\"} x"}) {
    const Asked asked(Telling({R"({"kind":"daemon"})", row}));
    EXPECT_EQ(asked.status, kExitFailed) << row;
    EXPECT_EQ(asked.complaint,
              "packetdb: the daemon's answer makes no sense: row 2 is no object with a kind\n");
    EXPECT_THAT(asked.rows, ElementsAre("untouched"));
  }
}

TEST(ToldRowsTest, AreNotThereWhenTheDaemonDoesNotKnowTheCommand) {
  const Asked asked(nullptr);
  EXPECT_EQ(asked.status, kExitFailed);
  EXPECT_THAT(asked.complaint, HasSubstr("-110: the server does not know the command"));
}

TEST(ToldRowsTest, AreNotThereWhenTheAnswerEndsEarly) {
  const Asked asked([](CAbstractPacketOptions* message) {
    message->SetKind(0);
    message->SetMarkerFlag(1);
    message->SetRecordCount(-1);
    message->AddColumn(kColumnText, 20);
    udbSendCommandAnswer(message, kAnswerOk);
    message->WriteHeader();
    message->SetValue(kColumnText, R"({"kind":"daemon"}   )");
    return message->WriteRecord() < 0 ? 0 : -1;
  });
  EXPECT_EQ(asked.status, kExitFailed);
  EXPECT_THAT(asked.complaint, HasSubstr("the answer is incomplete"));
  EXPECT_THAT(asked.rows, ElementsAre("untouched"));
}

TEST(ToldRowsTest, AreNotThereWhenTheTableHasNoText) {
  const Asked asked([](CAbstractPacketOptions* message) {
    message->SetKind(0);
    message->SetMarkerFlag(1);
    message->SetRecordCount(-1);
    message->AddColumn(kColumnText + 1, 1);
    udbSendCommandAnswer(message, kAnswerOk);
    message->WriteHeader();
    message->SetValue(kColumnText + 1, "x");
    message->WriteRecord();
    return message->WriteMarker();
  });
  EXPECT_EQ(asked.status, kExitFailed);
  EXPECT_THAT(asked.complaint, HasSubstr("row 1 is no object"));
}

TEST(ToldRowsTest, AreShownCellByCell) {
  const OrderedJson row =
      OrderedJson::parse(R"({"a":5,"b":2.55,"c":"x\ny","d":null,"e":true,"f":-1,"g":1700000000})");
  EXPECT_EQ(CellOf(row, "a"), "5");
  EXPECT_EQ(CellOf(row, "b"), "2.5");
  EXPECT_EQ(CellOf(row, "c"), "x\\x0ay");
  EXPECT_EQ(CellOf(row, "d"), "-");
  EXPECT_EQ(CellOf(row, "e"), "true");
  EXPECT_EQ(CellOf(row, "z"), "-");
  EXPECT_EQ(NumberOf(row, "a"), 5U);
  EXPECT_EQ(NumberOf(row, "f"), std::nullopt);
  EXPECT_EQ(NumberOf(row, "c"), std::nullopt);
  EXPECT_EQ(TimeCell(row, "d"), "-");
  EXPECT_EQ(BytesCell(row, "a"), "5");
  EXPECT_EQ(BytesCell(row, "c"), "-");
}

}  // namespace
}  // namespace packetdb::host::test
