// Matching by event code: single codes, groups, and what ends a list.
#include <map>
#include <set>

#include "tests/library/match_fixture.h"

namespace packetdb::test {
namespace {

using Codes = std::set<int>;

Codes Union(std::initializer_list<Codes> sets) {
  Codes all;
  for (const auto& set : sets) all.insert(set.begin(), set.end());
  return all;
}

Codes Range(int from, int to) {
  Codes codes;
  for (int code = from; code <= to; ++code) codes.insert(code);
  return codes;
}

// What each group of codes holds in the end.
std::map<int, Codes> ExpandedGroups() {
  std::map<int, Codes> groups;
  groups[-3] = Union({Range(1, 5), Range(7, 10), Range(13, 19), {26, 70, 118}});
  groups[-4] = Union({Range(20, 24), Range(30, 33), Range(37, 39)});
  groups[-6] = {40, 41, 44, 45};
  groups[-7] = Union({Range(60, 65), {67}});
  groups[-8] =
      Union({Range(80, 95), Range(97, 105), Range(111, 113), Range(129, 137), {139, 142, 147}});
  groups[-14] = Union({{42}, Range(46, 49), {110}});
  groups[-15] = Union({Range(114, 117), Range(119, 122)});
  groups[-5] = Union({groups[-6], groups[-7]});
  groups[-2] = Union({groups[-3], groups[-4], groups[-8]});
  groups[-1] = Union({groups[-2], groups[-5], groups[-8], groups[-14]});
  return groups;
}

Errcodes CodeList(std::initializer_list<int> entries) {
  Errcodes list;
  list.assign(entries);
  return list;
}

// The codes from 0 to 2000 that a list accepts.
Codes Accepted(const Errcodes& list) {
  Codes codes;
  for (int code = 0; code <= 2000; ++code) {
    if (list.match(static_cast<unsigned int>(code))) codes.insert(code);
  }
  return codes;
}

class MatchErrcodes : public MatchTest {};

TEST_F(MatchErrcodes, EmptyListAcceptsEverything) {
  EXPECT_EQ(Accepted(Errcodes()), Range(0, 2000));
  EXPECT_TRUE(Errcodes().match(0xffffffff));
}

TEST_F(MatchErrcodes, MinusOneInFrontAcceptsEverything) {
  EXPECT_EQ(Accepted(CodeList({-1})), Range(0, 2000));
  EXPECT_EQ(Accepted(CodeList({-1, 0, 5})), Range(0, 2000));
}

TEST_F(MatchErrcodes, EveryGroupHoldsExactlyItsCodes) {
  for (const auto& [group, codes] : ExpandedGroups()) {
    if (group == -1) continue;
    EXPECT_EQ(Accepted(CodeList({group})), codes) << group;
  }
}

TEST_F(MatchErrcodes, EveryGroupCountsAsALaterEntryToo) {
  for (const auto& [group, codes] : ExpandedGroups()) {
    EXPECT_EQ(Accepted(CodeList({1999, group})), Union({codes, {1999}})) << group;
  }
}

TEST_F(MatchErrcodes, LaterMinusOneLeavesOutTheLastGroup) {
  const Codes accepted = Accepted(CodeList({5, -1}));
  EXPECT_TRUE(accepted.contains(5));
  EXPECT_TRUE(accepted.contains(118));
  EXPECT_FALSE(accepted.contains(114));
}

TEST_F(MatchErrcodes, UnknownGroupMatchesNothing) {
  for (const int group : {-9, -10, -11, -12, -13, -16, -100, -2147483647 - 1}) {
    EXPECT_EQ(Accepted(CodeList({group})), Codes{}) << group;
    EXPECT_EQ(Accepted(CodeList({group, 3})), Codes{3}) << group;
  }
}

TEST_F(MatchErrcodes, ZeroEndsTheList) {
  EXPECT_EQ(Accepted(CodeList({7, 0, 9})), Codes{7});
  EXPECT_EQ(Accepted(CodeList({0, -1})), Codes{});
}

TEST_F(MatchErrcodes, EveryPositiveCodeMatchesItselfOnly) {
  for (int code = 1; code <= 2000; ++code) {
    const Errcodes list = CodeList({code});
    EXPECT_TRUE(list.match(static_cast<unsigned int>(code)));
    EXPECT_FALSE(list.match(static_cast<unsigned int>(code + 1)));
    EXPECT_FALSE(list.match(static_cast<unsigned int>(code - 1)));
  }
}

TEST_F(MatchErrcodes, NegativeEntryIsNoCode) {
  EXPECT_FALSE(CodeList({-6}).match(static_cast<unsigned int>(-6)));
  EXPECT_FALSE(CodeList({5, -9}).match(static_cast<unsigned int>(-9)));
}

TEST_F(MatchErrcodes, Code96IsInNoGroup) {
  for (const auto& [group, codes] : ExpandedGroups()) {
    EXPECT_FALSE(CodeList({5, group}).match(96)) << group;
    EXPECT_FALSE(codes.contains(96));
  }
}

TEST_F(MatchErrcodes, LargestCodeMatches) { EXPECT_TRUE(CodeList({0x7fffffff}).match(0x7fffffff)); }

TEST_F(MatchErrcodes, ListTracesNothing) {
  EXPECT_EQ(LinesOf(5,
                    [] {
                      (void)Errcodes().match(5);
                      (void)CodeList({-2, 7}).match(5);
                      (void)CodeList({-9}).match(5);
                    }),
            Strings{});
}

TEST_F(MatchErrcodes, QueryTracesTheLastTest) {
  query_.m_Errcodes = CodeList({6});
  event_.Code(0xfffffffe);
  EXPECT_FALSE(Matches());
  EXPECT_EQ(Traces(), AfterFlagsPass({"packet error code {u4:4294967294} doesn't match"}));
  ExpectLogged(5, "packet error code {u4:4294967294} doesn't match", [this] { Matches(); });
}

TEST_F(MatchErrcodes, QueryTracesSuccess) {
  query_.m_Errcodes = CodeList({5});
  EXPECT_TRUE(Matches());
  EXPECT_EQ(Traces(), AfterFlagsPass({"final pass"}));
  ExpectLogged(5, "final pass", [this] { Matches(); });
}

TEST_F(MatchErrcodes, ProtocolIsTestedBeforeTheCode) {
  query_.m_Errcodes = CodeList({99});
  query_.m_Protocols.assign({17});
  EXPECT_EQ(Traces().back(), "Protocol mismatch {u1:6}");
}

TEST_F(MatchErrcodes, FlagsAreTestedBeforeTheProtocol) {
  query_.m_Protocols.assign({17});
  query_.m_FlagsWanted = 1;
  EXPECT_EQ(Traces(), Strings{"Wanted flags not found: Packet: {x4:0} Wanted {x4:1}"});
}

TEST_F(MatchErrcodes, InterfaceIsTestedBeforeAddresses) {
  query_.m_AdapterNameHash = 3;
  query_.m_IdSrc = 99;
  EXPECT_EQ(Traces(), Strings{"adapter name hash drop query: {u8:3}, item:{u8:0}"});
}

TEST_F(MatchErrcodes, RefusedTracesChangeNoResult) {
  Log().SetLevel(5);
  Log().Refuse();
  EXPECT_TRUE(Matches());
  event_.Protocol(17);
  query_.m_Protocols.assign({6});
  EXPECT_FALSE(Matches());
  EXPECT_TRUE(Log().Lines().empty());
  EXPECT_FALSE(Log().Attempts().empty());
}

}  // namespace
}  // namespace packetdb::test
