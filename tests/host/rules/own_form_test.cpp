#include "host/rules/own_form.h"

#include <gtest/gtest.h>

namespace packetdb::host::test {
namespace {

TEST(OwnFormTest, WhatFollowsItHasNoMistake) {
  for (const char* prefix : {"pdb:a:b:drop", "pdb:a b:c d:accept", "pdb:a:b:reject:1999"}) {
    EXPECT_TRUE(LooksLikeOwnForm(prefix)) << prefix;
    EXPECT_EQ(OwnFormMistake(prefix), "") << prefix;
  }
}

TEST(OwnFormTest, TheVerdictIsRead) {
  EXPECT_EQ(OwnFormVerdict("pdb:a:b:accept:60"), Verdict::kAccept);
  EXPECT_EQ(OwnFormVerdict("pdb:a:b:drop "), std::nullopt);
  EXPECT_EQ(OwnFormVerdict("drop"), std::nullopt);
}

TEST(OwnFormTest, OtherPrefixesDoNotLookLikeIt) {
  for (const char* prefix : {"", "   ", "pdb", "pdbx:a:b:drop", "fw pdb:a:b:drop"}) {
    EXPECT_FALSE(LooksLikeOwnForm(prefix)) << prefix;
  }
}

TEST(OwnFormTest, EachMistakeIsNamed) {
  const std::pair<const char*, const char*> rows[] = {
      {"pdb:", "it has no verdict: pdb:<chain>:<rule>:<verdict>"},
      {"pdb:a:drop", "it has no verdict: pdb:<chain>:<rule>:<verdict>"},
      {"pdb::b:drop", "the chain is empty"},
      {"pdb:a::drop", "the rule is empty"},
      {"pdb:a:b:DROP", "the verdict is 'DROP', and not accept, drop or reject"},
      {"pdb:a:b:drop ", "the verdict is 'drop ', and not accept, drop or reject"},
      {"pdb:a:b:drop\x01", "the verdict is 'drop\\x01', and not accept, drop or reject"},
      {"pdb:a:b:drop:", "the code is '', and no number from 1 to 1999"},
      {"pdb:a:b:drop:2000", "the code is '2000', and no number from 1 to 1999"},
      {"pdb:a:b:drop:1:2", "something follows the code"},
      {"Pdb:a:b:drop", "it does not start with 'pdb:' to the letter"},
      {" 'pdb:a:b:drop", "it does not start with 'pdb:' to the letter"},
  };
  for (const auto& [prefix, mistake] : rows) {
    EXPECT_TRUE(LooksLikeOwnForm(prefix)) << prefix;
    EXPECT_EQ(OwnFormMistake(prefix), mistake) << prefix;
  }
}

}  // namespace
}  // namespace packetdb::host::test
