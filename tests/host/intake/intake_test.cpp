// What becomes of an event on its way into a journal.
#include "host/intake/intake.h"

#include <gmock/gmock.h>

#include "host/intake/rule_dictionary.h"
#include "host/sources/event.h"
#include "packetdb/query.h"
#include "tests/host/intake/support.h"

namespace packetdb::host::test {
namespace {

using testing::SizeIs;

class AnIntake : public testing::Test, protected Intaken {
 protected:
  // The only record of a journal after it has taken the event.
  PacketDbItemPacked RecordOf(const Seen& seen) {
    Take({seen});
    Stop();
    const auto records = Records();
    EXPECT_THAT(records, SizeIs(1));
    return records.empty() ? PacketDbItemPacked{} : records.front();
  }
  RuleDictionary Dictionary() const { return RuleDictionary::Load(Path()); }
};

TEST_F(AnIntake, JournalsTheEventUnderItsInterface) {
  const Seen seen;
  const PacketDbItemPacked record = RecordOf(seen);
  EXPECT_EQ(+record.m_AdapterNameHash, adapter_name_hash("eth0"));
  EXPECT_EQ(+record.m_SrcIp, 0x0A000001U);
  EXPECT_EQ(+record.m_DstPort, 53U);
  EXPECT_EQ(+record.m_FirstTime, +seen.event.event.item.m_FirstTime);
  EXPECT_EQ(+record.m_PacketSize, 40U);
}

TEST_F(AnIntake, GivesTheEventCodeVerdictAndFlagsOfItsRule) {
  RuleSettings rule = RuleFor("fw-*", 44);
  rule.verdict = Verdict::kReject;
  rule.flags = 0x2000000;
  configuration().rules = {rule};
  Seen seen;
  seen.event.event.item.m_Flags = kFlagIn;
  const PacketDbItemPacked record = RecordOf(seen.With("fw-in"));
  EXPECT_EQ(+record.m_ErrorCode, 44U);
  EXPECT_EQ(+record.m_Flags, kFlagIn | kFlagRejected | 0x2000000U | (1U << kRuleShift));
}

TEST_F(AnIntake, TakesOurOwnFormAndDefaultsWithoutARule) {
  EXPECT_EQ(+RecordOf(Seen().With("pdb:in:1:accept:77")).m_ErrorCode, 77U);
}

TEST_F(AnIntake, GivesEventsWithoutAPrefixNoNumber) {
  const PacketDbItemPacked record = RecordOf(Seen());
  EXPECT_EQ(+record.m_ErrorCode, kCodeCaptured);
  EXPECT_EQ(RuleNumber(record.m_Flags), 0U);
  EXPECT_EQ(page().rules.unnumbered.Get(), 0U);
}

TEST_F(AnIntake, KeepsTheEventsOfTwoRulesApart) {
  Take({Seen().With("a"), Seen().With("b"), Seen().With("a")});
  Stop();
  const auto records = Records();
  ASSERT_THAT(records, SizeIs(2));
  EXPECT_EQ(RuleNumber(records[0].m_Flags), 1U);
  EXPECT_EQ(+records[0].m_Count, 2U);
  EXPECT_EQ(RuleNumber(records[1].m_Flags), 2U);
}

TEST_F(AnIntake, NamesTheRuleInTheDictionary) {
  RuleSettings rule = RuleFor("fw-*", 44);
  rule.verdict = Verdict::kDrop;
  rule.text = "from outside";
  configuration().rules = {rule};
  const std::int64_t now = Seen().event.event.time;
  const PacketDbItemPacked record = RecordOf(Seen().With("fw-in").At(now));
  const RuleDictionary dictionary = Dictionary();
  const RuleEntry* const entry = dictionary.Find(RuleNumber(record.m_Flags), now);
  ASSERT_NE(entry, nullptr);
  EXPECT_EQ(entry->prefix, "fw-in");
  EXPECT_EQ(entry->since, now);
  EXPECT_EQ(entry->meaning, (RuleMeaning{44, Verdict::kDrop, 0, "from outside"}));
  EXPECT_EQ(page().rules.known.Get(), 1U);
}

// A row of last month names what its rule meant then.
TEST_F(AnIntake, KeepsARulesNumberWhenTheConfigurationChangesItsMeaning) {
  const std::int64_t now = Seen().event.event.time;
  Take({Seen().With("a").At(now - 10)});
  configuration().rules = {RuleFor("a", 44)};
  Restart();
  Take({Seen().With("a").At(now)});
  Stop();
  const auto records = Records();
  ASSERT_THAT(records, SizeIs(2));
  EXPECT_EQ(RuleNumber(records[0].m_Flags), 1U);
  EXPECT_EQ(RuleNumber(records[1].m_Flags), 1U);
  const RuleDictionary dictionary = Dictionary();
  EXPECT_EQ(dictionary.Find(1, now - 10)->meaning.code, kCodeLogged);
  EXPECT_EQ(dictionary.Find(1, now)->meaning.code, 44U);
}

TEST_F(AnIntake, GivesAddressesTheirNodes) {
  configuration().nodes = {{.network = 0x0A000000, .prefix_length = 8, .id = 7, .name = "ten"},
                           {.network = 0x0A000002, .prefix_length = 32, .id = 8, .name = "two"}};
  const PacketDbItemPacked record = RecordOf(Seen().From(0x0A000001).To(0x0A000002));
  EXPECT_EQ(+record.m_SrcId, 7U);
  EXPECT_EQ(+record.m_DstId, 8U);
}

TEST_F(AnIntake, GivesEachEventToTheFirstJournalThatItFits) {
  configuration().journals = {JournalNamed("lan"), JournalNamed("six")};
  configuration().journals[0].interfaces = {"lan*"};
  configuration().journals[1].log_groups = {6};
  Take({Seen().On("lan0").In(6), Seen().In(6), Seen().In(7)});
  Stop();
  EXPECT_THAT(Records("lan"), SizeIs(1));
  EXPECT_THAT(Records("six"), SizeIs(1));
  EXPECT_EQ(Source().journaled.Get(), 2U);
  EXPECT_EQ(Source().unrouted.Get(), 1U);
}

TEST_F(AnIntake, GivesNoNumberToRulesWhoseEventsAreNotJournaled) {
  configuration().journals[0].interfaces = {"lan*"};
  ExclusionSettings exclusion;
  exclusion.name = "noise";
  exclusion.prefix = "noise";
  configuration().exclusions = {exclusion};
  Take({Seen().With("noise").On("lan0"), Seen().With("unrouted").On("wan0")});
  EXPECT_EQ(Dictionary().entries().size(), 0U);
}

TEST_F(AnIntake, CountsWhatIsToBeDroppedUnderNoName) {
  ExclusionSettings noise;
  noise.name = "noise";
  noise.action = ExclusionSettings::Action::kDrop;
  noise.prefix = "noise";
  configuration().exclusions = {noise};
  Take({Seen().With("noise"), Seen()});
  Stop();
  EXPECT_THAT(Records(), SizeIs(1));
  EXPECT_EQ(Source().excluded.Get(), 1U);
  EXPECT_STREQ(page().exclusions[0].name.data(), "");
}

TEST_F(AnIntake, KeepsExcludedEventsOutAndCountsThem) {
  ExclusionSettings dns;
  dns.name = "dns";
  dns.ports = {{53, 53}};
  ExclusionSettings noise;
  noise.name = "noise";
  noise.prefix = "noise*";
  configuration().exclusions = {noise, dns};
  Seen other;
  other.event.event.item.m_DstPort = 80;
  Take({Seen(), Seen(), other.With("noise-1"), other.With("kept")});
  Stop();
  EXPECT_THAT(Records(), SizeIs(1));
  EXPECT_EQ(Source().excluded.Get(), 3U);
  EXPECT_EQ(Source().journaled.Get(), 1U);
  EXPECT_STREQ(page().exclusions[0].name.data(), "noise");
  EXPECT_EQ(page().exclusions[0].packets.Get(), 1U);
  EXPECT_EQ(page().exclusions[0].bytes.Get(), 40U);
  EXPECT_STREQ(page().exclusions[1].name.data(), "dns");
  EXPECT_EQ(page().exclusions[1].packets.Get(), 2U);
  EXPECT_EQ(page().exclusions[1].bytes.Get(), 80U);
}

TEST_F(AnIntake, RemarksAPrefixThatStartsLikeOurForm) {
  Take({Seen().With("pdb:in"), Seen().With("pdb:in"), Seen().With("other")});
  EXPECT_EQ(Source().remarks[static_cast<std::size_t>(Remark::kMalformedPrefix)].Get(), 2U);
}

TEST_F(AnIntake, JournalsEventsOfAnInterfaceWhoseNameCannotBeQueried) {
  const PacketDbItemPacked record = RecordOf(Seen().On("a b\n"));
  EXPECT_EQ(+record.m_AdapterNameHash, adapter_name_hash("a?b?"));
}

TEST_F(AnIntake, JournalsEventsOfAPrefixThatIsTooLongWithoutANumber) {
  const PacketDbItemPacked record = RecordOf(Seen().With(std::string(300, 'p')));
  EXPECT_EQ(RuleNumber(record.m_Flags), 0U);
  EXPECT_EQ(page().rules.unnumbered.Get(), 1U);
}

}  // namespace
}  // namespace packetdb::host::test
