// Serving one query: what is answered in each case.
#include <stdexcept>

#include "tests/library/server_fixture.h"

namespace packetdb::test {
namespace {

class Serve : public ServerTest {};

TEST_F(Serve, OldClientIsRefusedAndNothingElseIsWritten) {
  journal_.Add(EventAt(1));
  Ask("eth0", 0);
  EXPECT_EQ(Thrown(), "client uses old protocol fatal");
  EXPECT_EQ(Call(), -1);
  EXPECT_EQ(Calls().All().back(), "udbSendCommandAnswer(-100)");
  EXPECT_EQ(Calls().CountOf("udbSendCommandAnswer"), 1);
  EXPECT_EQ(Calls().CountOf("RecordCount"), 0);
}

TEST_F(Serve, ClientThatSendsNoVersionIsOld) {
  message_ = ScriptedMessage();
  message_.CarryName("eth0");
  EXPECT_EQ(Call(), -1);
  EXPECT_EQ(Answers(), Strings{"udbSendCommandAnswer(-100)"});
}

TEST_F(Serve, OldClientIsLogged) {
  Ask("eth0", 0);
  ExpectLogged(1, "client uses old protocol", [this] { Call(); });
  EXPECT_EQ(LinesOf(1, [this] { Call(); }), Strings{"client uses old protocol"});
}

TEST_F(Serve, RefusalThatCannotBeSentChangesNothing) {
  Ask("eth0", 0);
  Calls().Script("udbSendCommandAnswer", {-1});
  EXPECT_EQ(Thrown(), "client uses old protocol fatal");
  EXPECT_EQ(Answers(), Strings{"udbSendCommandAnswer(-100)"});
}

TEST_F(Serve, EveryOtherVersionIsServed) {
  for (const int version : {1, 2, 255}) {
    Ask("eth0", static_cast<std::uint8_t>(version));
    EXPECT_EQ(Call(), 0) << version;
    EXPECT_EQ(Answers(), Strings{"udbSendCommandAnswer(-3)"});
  }
}

TEST_F(Serve, VersionIsTraced) {
  Ask("eth0", 201);
  Call();
  LinesOf(5, [this] { Call(); });
  EXPECT_THAT(Log().Texts(5), ::testing::Contains("Current protocol version is 201"));
  Log().Forget();
  Log().SetLevel(4);
  Call();
  for (const auto& attempt : Log().Attempts()) EXPECT_LE(attempt.level, 4);
}

TEST_F(Serve, EmptySelectionIsAnsweredWithoutATable) {
  EXPECT_EQ(Thrown(), "none");
  EXPECT_EQ(Call(), 0);
  EXPECT_EQ(Calls().All().back(), "udbSendCommandAnswer(-3)");
  EXPECT_EQ(Calls().CountOf("SetKind"), 0);
}

TEST_F(Serve, MatchingRecordsAreAnsweredWithATable) {
  journal_.AddSeparately({1, 2});
  EXPECT_EQ(Call(), 0);
  EXPECT_EQ(Answers(), Strings{"udbSendCommandAnswer(0)"});
  EXPECT_EQ(Calls().CountOf("WriteRecord"), 2);
  EXPECT_EQ(Calls().All().back(), "WriteMarker()");
}

TEST_F(Serve, UnknownInterfaceIsAnsweredLikeNothing) {
  Ask("eth9");
  EXPECT_EQ(Thrown(), "none");
  EXPECT_EQ(Call(), 0);
  EXPECT_EQ(Answers(), Strings{"udbSendCommandAnswer(-3)"});
}

TEST_F(Serve, UnknownInterfaceIsLogged) {
  Ask("eth9");
  message_.SetLastError(12);
  LinesOf(1, [this] { Call(); });
  EXPECT_EQ(Log().Texts(1), Strings{"UDB error (12):invalid interface name"});
}

TEST_F(Serve, FailureLineBelongsToLevelOne) {
  Ask("eth9");
  Log().SetLevel(0);
  Call();
  EXPECT_TRUE(Log().Attempts().empty());
  EXPECT_EQ(LastErrorCalls(), 0);
}

TEST_F(Serve, FailedBatchIsAnsweredAndPassedOn) {
  journal_.Add(EventAt(1));
  Calls().Script("ReadRecords", {-1, -1});
  EXPECT_EQ(Thrown(), " fatal");
  EXPECT_EQ(Call(), -1);
  EXPECT_EQ(Answers(), Strings{"udbSendCommandAnswer(-3)"});
  EXPECT_EQ(Calls().All().back(), "udbSendCommandAnswer(-3)");
}

TEST_F(Serve, FailedBatchIsLoggedWithoutAText) {
  journal_.Add(EventAt(1));
  Calls().Script("ReadRecords", {-1});
  message_.SetLastError(-4);
  LinesOf(1, [this] { Call(); });
  EXPECT_EQ(Log().Texts(1), Strings{"UDB error (-4):"});
}

TEST_F(Serve, FailureIsAnsweredBeforeItIsLogged) {
  Ask("eth9");
  Calls().Script("udbSendCommandAnswer", {-1});
  EXPECT_EQ(Thrown(), "none");
  EXPECT_EQ(Answers(), Strings{"udbSendCommandAnswer(-3)"});
}

TEST_F(Serve, FailureLineShowsTheErrorOfItsOwnAnswer) {
  Ask("eth9");
  message_.SetLastError(12);
  message_.OnFailure(5);
  Calls().Script("udbSendCommandAnswer", {-1});
  LinesOf(1, [this] { Call(); });
  EXPECT_EQ(Log().Texts(1), Strings{"UDB error (5):invalid interface name"});
}

TEST_F(Serve, AnswerThatCannotBeSentIsTriedOnceMoreAsAFailure) {
  journal_.Add(EventAt(1));
  Calls().Script("udbSendCommandAnswer", {-1});
  EXPECT_EQ(Thrown(), "sending UDB_GET_DBQUERY answer fatal");
  EXPECT_EQ(Answers(), (Strings{"udbSendCommandAnswer(0)", "udbSendCommandAnswer(-3)"}));
  EXPECT_EQ(Calls().CountOf("SetKind"), 0);
}

TEST_F(Serve, EmptyAnswerThatCannotBeSentIsTriedOnceMore) {
  Calls().Script("udbSendCommandAnswer", {-1});
  EXPECT_EQ(Call(), -1);
  EXPECT_EQ(Answers(), (Strings{"udbSendCommandAnswer(-3)", "udbSendCommandAnswer(-3)"}));
}

TEST_F(Serve, FailedTableIsAnsweredTwice) {
  journal_.Add(EventAt(1));
  Calls().Script("WriteRecord", {-1});
  message_.OnFailure(8);
  LinesOf(1, [this] { EXPECT_EQ(Call(), -1); });
  EXPECT_EQ(Log().Texts(1), Strings{"UDB error (8):writing record"});
  EXPECT_EQ(Answers(), (Strings{"udbSendCommandAnswer(0)", "udbSendCommandAnswer(-3)"}));
}

// Fails each call on the platform in turn, until none is left to fail.
TEST_F(Serve, FailureOfAnyCallIsAnsweredOrHarmless) {
  journal_.AddSeparately({1, 2});
  int failing = 0;
  do {
    Ask("eth0");
    Calls().FailCall(failing);
    const int status = Call();
    const Strings answers = Answers();
    ASSERT_FALSE(answers.empty()) << failing;
    const bool complete = Calls().All().back() == "WriteMarker()" && answers.size() == 1;
    if (status == 0) {
      EXPECT_TRUE(complete || answers.back() == "udbSendCommandAnswer(-3)") << failing;
    } else {
      EXPECT_EQ(answers.back(), "udbSendCommandAnswer(-3)") << failing;
    }
    ++failing;
  } while (Calls().FaultFired());
  EXPECT_GT(failing, 50);
}

// A message that cannot even be read.
class UnreadableMessage : public ScriptedMessage {
 public:
  const void* GetRaw(unsigned int /*id*/, unsigned int* /*size*/) const override {
    throw std::out_of_range("unreadable");
  }
};

TEST_F(Serve, FailureToDecodeIsPassedOnWithoutAnAnswer) {
  UnreadableMessage unreadable;
  EXPECT_THROW(server_.Serve(&unreadable), std::out_of_range);
  EXPECT_EQ(server_.call(&unreadable), -1);
  EXPECT_EQ(Answers(), Strings{});
}

// A message whose failure looks like one of answering.
class RefusingMessage : public ScriptedMessage {
 public:
  explicit RefusingMessage(bool fatal) : fatal_(fatal) {}
  const void* GetRaw(unsigned int /*id*/, unsigned int* /*size*/) const override {
    throw XPacketDb("unreadable", fatal_);
  }

 private:
  bool fatal_;
};

TEST_F(Serve, FailureToDecodeIsNotAnsweredWhateverItIs) {
  for (const bool fatal : {false, true}) {
    RefusingMessage refusing(fatal);
    EXPECT_THROW(server_.Serve(&refusing), XPacketDb);
    EXPECT_EQ(server_.call(&refusing), -1);
    EXPECT_EQ(Answers(), Strings{});
  }
}

// A message that breaks in the middle of the table.
class BreakingMessage : public ScriptedMessage {
 public:
  int WriteHeader() override { throw std::out_of_range("broken"); }
};

TEST_F(Serve, ForeignFailureOfTheTableIsNotAnsweredAgain) {
  journal_.Add(EventAt(1));
  BreakingMessage breaking;
  breaking.CarryName("eth0");
  breaking.CarryByte(31, 1);
  breaking.CarryInt(3, 0x7fffffff);
  EXPECT_THROW(server_.Serve(&breaking), std::out_of_range);
  EXPECT_EQ(server_.call(&breaking), -1);
  EXPECT_EQ(Answers(), (Strings{"udbSendCommandAnswer(0)", "udbSendCommandAnswer(0)"}));
}

TEST_F(Serve, ConversationIsLoggedInOrder) {
  journal_.AddSeparately({1, 2});
  Clock().Set(3661, 7);
  LinesOf(4, [this] { Call(); });
  const Strings texts = Log().Texts(4);
  EXPECT_EQ(texts.front(), "Interface: eth0");
  EXPECT_EQ(Strings(texts.end() - 6, texts.end()),
            (Strings{"Event list:", "Processing packet db request for eth0", "start: 1:60:1.7",
                     "end: 1:60:1.7", "Select has performed in 0 sec 0", "wrote 2 records"}));
}

}  // namespace
}  // namespace packetdb::test
