#include "host/status/status_commands.h"

#include <boost/shared_ptr.hpp>
#include <cstring>
#include <gmock/gmock.h>
#include <nlohmann/json.hpp>
#include <sys/socket.h>

#include "host/bus/columns.h"
#include "host/bus/commands.h"
#include "host/journals/group_writer.h"
#include "host/status/shared_page.h"
#include "host/status/text_rows.h"
#include "tests/host/bus/support.h"
#include "tests/host/journals/support.h"
#include "tests/host/sources/temp_dir.h"

namespace packetdb::host::test {
namespace {

using testing::ElementsAre;

// The rows behind a header that was read, the NULs that fill them up included.
std::vector<std::string> RowsOf(Message& message) {
  std::vector<std::string> rows;
  while (message.ReadRecord() >= 0 && message.IsMarker() == 0) {
    unsigned int size = 0;
    const auto* text = static_cast<const char*>(message.GetRaw(kColumnText, &size));
    if (text == nullptr) return {"no column of text"};
    rows.emplace_back(text, size);
  }
  EXPECT_NE(message.IsMarker(), 0) << "complete";
  return rows;
}

// The answer of a server that sends these rows, and the rows that came of it.
struct Sent {
  explicit Sent(const std::vector<std::string>& texts) {
    Dispatcher dispatcher;
    Register(dispatcher, kTestCommand, [&](CAbstractPacketOptions* message) {
      result = SendTextRows(*message, texts);
      return result;
    });
    Pair pair;
    ServerThread server(pair.server, dispatcher);
    Message message(pair.client);
    WriteRequest(message);
    EXPECT_EQ(udbGetCommandAnswer(&message), 0);
    message.BeginRead();
    is_begun = message.ReadHeader() >= 0;
    if (is_begun) rows = RowsOf(message);
    shutdown(pair.client.fd(), SHUT_RDWR);
  }

  int result = 1;
  bool is_begun = false;
  std::vector<std::string> rows;
};

TEST(TextRows, AreAsWideAsTheWidest) {
  using namespace std::string_literals;
  EXPECT_THAT(Sent({"a", "", "abc"}).rows, ElementsAre("a\0\0"s, "\0\0\0"s, "abc"s));
}

TEST(TextRows, MayBeNone) {
  const Sent sent({});
  EXPECT_TRUE(sent.is_begun);
  EXPECT_THAT(sent.rows, ElementsAre());
}

TEST(TextRows, MayBeAsLongAsAColumn) {
  const std::string longest(kMaxColumnSize, 'x');
  EXPECT_THAT(Sent({longest}).rows, ElementsAre(longest));
}

TEST(TextRows, FailWhenTheyAreTooLong) {
  const Sent sent({std::string(kMaxColumnSize + 1, 'x')});
  EXPECT_LT(sent.result, 0);
  EXPECT_FALSE(sent.is_begun);
}

class StatusOnTheBus : public testing::Test {
 protected:
  StatusOnTheBus() {
    GroupWriter(
        {.directory = directory_.Path(), .group = "lan", .capacity = 9, .window_seconds = 7})
        .Add(EventFrom(1, 100), "eth0");
  }

  // "kind name" of each row that the daemon gives for a command.
  std::vector<std::string> Ask(int command, const StatusPage* page) {
    Dispatcher dispatcher;
    using Entry = UdbDispatcher::CommandCallbackT<int>;
    const boost::shared_ptr<UdbDispatcher::IUdbCallback> handlers[] = {
        boost::shared_ptr<StatusCommand>(new StatusCommand(page, directory_.Path())),
        boost::shared_ptr<JournalsCommand>(new JournalsCommand(directory_.Path()))};
    dispatcher.commands().push_back(Entry(handlers[0], kCommandStatus));
    dispatcher.commands().push_back(Entry(handlers[1], kCommandJournals));
    Pair pair;
    ServerThread server(pair.server, dispatcher);
    Message message(pair.client);
    WriteRequest(message, command);
    EXPECT_EQ(udbGetCommandAnswer(&message), 0);
    message.BeginRead();
    EXPECT_GE(message.ReadHeader(), 0);
    std::vector<std::string> told;
    for (const std::string& row : RowsOf(message)) {
      const auto object = nlohmann::json::parse(row.c_str());
      told.push_back(object.at("kind").get<std::string>() + " " + object.value("name", ""));
    }
    shutdown(pair.client.fd(), SHUT_RDWR);
    return told;
  }

  const TempDir directory_;
};

TEST_F(StatusOnTheBus, IsThatOfPageAndJournals) {
  const StatusPagePtr page = MakeStatusPage();
  FindOrAddRow(page->sources, "nflog:5");
  EXPECT_THAT(Ask(kCommandStatus, page.get()),
              ElementsAre("daemon ", "clients ", "rules ", "source nflog:5", "journal lan"));
}

TEST_F(StatusOnTheBus, IsThatOfTheJournalsAloneWithoutAPage) {
  EXPECT_THAT(Ask(kCommandStatus, nullptr), ElementsAre("daemon ", "journal lan"));
}

TEST_F(StatusOnTheBus, ListsJournalsAndInterfaces) {
  EXPECT_THAT(Ask(kCommandJournals, nullptr), ElementsAre("group lan", "interface eth0"));
}

}  // namespace
}  // namespace packetdb::host::test
