// From words and options to what is asked.
#include "host/cli/question.h"

#include <gmock/gmock.h>

#include "host/cli/usage_error.h"
#include "host/expression/printer.h"

namespace packetdb::host {
namespace {

constexpr std::int64_t kNow = 1'800'000'000;

class QuestionTest : public testing::Test {
 protected:
  Question Read() const { return ReadQuestion(options_, true, kNow); }
  Question ReadWords(const std::vector<std::string>& words) {
    options_.words = words;
    return Read();
  }
  Plan PlanOf() const { return MakePlan(Read(), names_); }
  std::string Rest(const Plan& plan) const { return expression::Print(plan.division.rest, names_); }

  Names names_;
  QuestionOptions options_;
};

TEST_F(QuestionTest, JournalIsTheOneOfEverythingUnlessItIsNamed) {
  EXPECT_EQ(ReadWords({}).name, "all");
  EXPECT_EQ(ReadWords({"eth0"}).name, "eth0");
  EXPECT_STREQ(ReadWords({"lan"}).criteria.m_Interface, "lan");
}

TEST_F(QuestionTest, WordsThatBeginAnExpressionAreNoJournal) {
  for (const char* word : {"src", "tcp", "not", "10.0.0.7", "(tcp)", "!tcp", "host a", "'lan'"}) {
    EXPECT_EQ(ReadWords({word}).name, "all") << word;
    EXPECT_EQ(ReadWords({word}).expression, word);
  }
}

TEST_F(QuestionTest, FurtherWordsAreTheExpression) {
  const Question question = ReadWords({"lan", "dst", "port", "22"});
  EXPECT_EQ(question.name, "lan");
  EXPECT_EQ(question.expression, "dst port 22");
}

TEST_F(QuestionTest, JournalByOptionLeavesAllWordsToTheExpression) {
  options_.journal = "tcp";
  const Question question = ReadWords({"udp"});
  EXPECT_EQ(question.name, "tcp");
  EXPECT_EQ(question.expression, "udp");
}

TEST_F(QuestionTest, FileHasNoNamesToChooseFrom) {
  options_.words = {"lan"};
  const Question question = ReadQuestion(options_, false, kNow);
  EXPECT_EQ(question.expression, "lan");
}

TEST_F(QuestionTest, LastIsASpanBeforeNow) {
  options_.last = "10m";
  EXPECT_EQ(Read().criteria.m_TimeStart, kNow - 600);
  options_.criteria.since = "today";
  EXPECT_THROW(Read(), UsageError);
}

TEST_F(QuestionTest, NumbersOfEventsAreTheDaemonsToTest) {
  options_.criteria.events = "1,-3";
  EXPECT_THAT(Read().criteria.m_Errcodes, testing::ElementsAre(1, -3));
  EXPECT_EQ(Read().named, "");
}

TEST_F(QuestionTest, NamesOfEventsBecomeAnExpression) {
  options_.criteria.events = "port-scan,-3,7";
  EXPECT_TRUE(Read().criteria.m_Errcodes.empty());
  const Plan plan = PlanOf();
  Row row;
  row.event.m_ErrorCode = 20;
  EXPECT_TRUE(plan.query.match(PacketDbItem(&row.event, 0)));
  row.event.m_ErrorCode = 44;
  EXPECT_FALSE(plan.query.match(PacketDbItem(&row.event, 0)));
}

TEST_F(QuestionTest, FlagsOfTheAdministratorAreKnownByTheirNames) {
  names_.SetFlags({{"watched", 0x80000000U}});
  options_.criteria.flags = "in,watched";
  const Plan plan = PlanOf();
  EXPECT_EQ(plan.query.m_FlagsWanted, 1u);
  EXPECT_TRUE(plan.tests_query) << "the query is taken by the other option";
  options_.criteria.flags = "watched";
  EXPECT_EQ(PlanOf().query.m_FlagsWanted, 0x80000000U);
}

TEST_F(QuestionTest, CriteriaAndAnExpressionBothHold) {
  options_.criteria.src = "10.0.0.0/8";
  options_.words = {"dst", "port", "22", "and", "count", ">", "2"};
  const Plan plan = PlanOf();
  Row row;
  row.event.m_Protocol = 6;
  row.event.m_DstPort = 22;
  EXPECT_TRUE(plan.Takes(row));
  EXPECT_EQ(Rest(plan), "count >= 3");
  EXPECT_EQ(plan.query.m_IpSrcFrom, 0x0A000000U);
  row.event.m_DstPort = 23;
  EXPECT_FALSE(plan.Takes(row));
}

TEST_F(QuestionTest, ExpressionAloneIsTheDaemonsAsFarAsPossible) {
  options_.words = {"dst", "port", "22"};
  options_.criteria.since = "@17";
  const Plan plan = PlanOf();
  EXPECT_EQ(plan.query.m_PortDstFrom, 22);
  EXPECT_EQ(plan.query.m_TimeStart, 17);
  EXPECT_FALSE(plan.tests_query);
}

TEST_F(QuestionTest, InterfacesAreChosenByTheirNames) {
  options_.interfaces = {"eth0", "ppp*"};
  const Plan plan = PlanOf();
  Row row;
  row.interface = "ppp7";
  EXPECT_TRUE(plan.Takes(row));
  row.interface = "eth1";
  EXPECT_FALSE(plan.Takes(row));
}

TEST_F(QuestionTest, MistakesOfAnExpressionAreShownInTheirPlace) {
  options_.words = {"dst prt 22"};
  try {
    PlanOf();
    FAIL();
  } catch (const UnreadableExpression& error) {
    EXPECT_THAT(error.what(), testing::HasSubstr("did you mean port?"));
  }
}

}  // namespace
}  // namespace packetdb::host
