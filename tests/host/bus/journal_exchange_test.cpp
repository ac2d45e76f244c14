// The exchange of a journal query from end to end, with a handler and a client that use the bus as
// the journal's do.
#include <cstring>
#include <gtest/gtest.h>

#include "host/bus/answer_code.h"
#include "tests/host/bus/journal_like.h"

namespace packetdb::host {
namespace {

class JournalExchange : public ::testing::Test {
 protected:
  void Serve(const std::vector<JournalRow>& rows) {
    RegisterJournal(dispatcher_, rows);
    server_ = std::make_unique<ServerThread>(pair_.server, dispatcher_);
  }
  int Ask(const JournalQuery& query) {
    rows_.clear();
    Message message(pair_.client);
    return AskJournal(message, query, &rows_);
  }
  void TearDown() override { shutdown(pair_.client.fd(), SHUT_RDWR); }

  Pair pair_;
  Dispatcher dispatcher_;
  std::unique_ptr<ServerThread> server_;
  std::vector<JournalRow> rows_;
};

TEST_F(JournalExchange, BringsEveryRowUnchanged) {
  Serve(SampleRows(3));
  EXPECT_EQ(Ask({}), 0);
  EXPECT_EQ(rows_, SampleRows(3));
}

TEST_F(JournalExchange, BringsAsManyRowsAsThereAre) {
  Serve(SampleRows(50000));
  EXPECT_EQ(Ask({}), 0);
  EXPECT_EQ(rows_, SampleRows(50000));
}

TEST_F(JournalExchange, OfNothingIsMinus3) {
  Serve({});
  EXPECT_EQ(Ask({}), -3);
  EXPECT_TRUE(rows_.empty());
}

TEST_F(JournalExchange, OfAnOldClientIsMinus100) {
  Serve(SampleRows(1));
  JournalQuery query;
  query.version = 0;
  EXPECT_EQ(Ask(query), -100);
}

TEST_F(JournalExchange, GoesOnFromOneQueryToTheNext) {
  Serve(SampleRows(5));
  for (unsigned int limit : {1u, 4u, 2u}) {
    JournalQuery query;
    query.record_limit = limit;
    EXPECT_EQ(Ask(query), 0);
    EXPECT_EQ(rows_.size(), limit);
  }
}

TEST_F(JournalExchange, OfATableThatCannotBeCompletedFailsWithTheRowsBeforeIt) {
  Register(dispatcher_, kTestCommand, [](CAbstractPacketOptions* message) {
    udbSendCommandAnswer(message, 0);
    message->SetKind(0);
    message->AddColumn(kIntegerBit | 1, 4);
    message->SetRecordCount(-1);
    message->SetMarkerFlag(1);
    message->WriteHeader();
    const int value = 9;
    message->SetValue(1, &value);
    message->WriteRecord();
    udbSendCommandAnswer(message, -3);
    return -1;
  });
  server_ = std::make_unique<ServerThread>(pair_.server, dispatcher_);
  EXPECT_EQ(Ask({}), -101);
  ASSERT_EQ(rows_.size(), 1u);
  EXPECT_EQ(rows_[0].count, 9u);
  EXPECT_EQ(rows_[0].source_port, 0) << "a column that was not declared";
  EXPECT_EQ(Ask({}), -101) << "and the connection is still in step";
  EXPECT_EQ(rows_.size(), 1u);
}

TEST_F(JournalExchange, NeverSendsAQueryOfWhichAFilterWasRefused) {
  Serve(SampleRows(1));
  JournalQuery query;
  query.codes.assign(16385, 5);  // one code more than a column holds
  EXPECT_EQ(Ask(query), -101);
  query.codes.resize(16384);
  EXPECT_EQ(Ask(query), 0);
}

TEST(JournalQueryOnTheBus, ArrivesAsItWasSent) {
  Pair pair;
  JournalQuery query;
  std::strcpy(query.interface, "an-interface-name-of-31-letters");
  query.time_start = 0x12345678;
  query.record_limit = 0x80000000;
  query.port = 65535;
  query.protocols = {6, 17, 255};
  query.codes = {-15, 1999, 5};
  Message client(pair.client);
  ASSERT_TRUE(WriteJournalQuery(client, query));
  pair.client.Flush();
  Message server(pair.server);
  ReadRequest(server);
  const JournalQuery received = ReadJournalQuery(server);
  EXPECT_STREQ(received.interface, query.interface);
  EXPECT_EQ(received.version, 1);
  EXPECT_EQ(received.time_start, query.time_start);
  EXPECT_EQ(received.record_limit, query.record_limit);
  EXPECT_EQ(received.port, query.port);
  EXPECT_EQ(received.protocols, query.protocols);
  EXPECT_EQ(received.codes, query.codes);
}

TEST(JournalQueryOnTheBus, LeavesWhatItDoesNotCarryAt0) {
  Pair pair;
  Message client(pair.client);
  ASSERT_TRUE(WriteJournalQuery(client, JournalQuery{}));
  pair.client.Flush();
  Message server(pair.server);
  ReadRequest(server);
  EXPECT_EQ(server.received().columns.All().size(), 3u);
  const JournalQuery received = ReadJournalQuery(server);
  EXPECT_EQ(received.time_start, 0);
  EXPECT_EQ(received.record_limit, 0u);
  EXPECT_EQ(received.port, 0);
  EXPECT_TRUE(received.protocols.empty());
  EXPECT_TRUE(received.codes.empty());
}

TEST(JournalQueryOnTheBus, OfAnUnknownCommandGetsAnAnswer) {
  Pair pair;
  Dispatcher dispatcher;
  ServerThread server(pair.server, dispatcher);
  std::vector<JournalRow> rows;
  {
    Message message(pair.client);
    EXPECT_EQ(AskJournal(message, {}, &rows), kAnswerUnknownCommand);
  }
  shutdown(pair.client.fd(), SHUT_RDWR);
}

}  // namespace
}  // namespace packetdb::host
