#include <gtest/gtest.h>

#include "platform/log.h"

namespace {

TEST(FunctionName, IsTheQualifiedNameWithoutResultAndArguments) {
  EXPECT_EQ(ClUnilogFname("virtual int packetdb::DbFileStorage::Init(const string&, int)", "Init"),
            "packetdb::DbFileStorage::Init");
}

TEST(FunctionName, KeepsTemplateArgumentsWithBlanksTogether) {
  EXPECT_EQ(ClUnilogFname("std::map<int, int> a::Map<int, unsigned char>::find(int)", "find"),
            "a::Map<int, unsigned char>::find");
}

TEST(FunctionName, EndsTheResultAtAPointer) {
  EXPECT_EQ(ClUnilogFname("CLinked *packetdb::Index::FindItem(Item *)", "FindItem"),
            "packetdb::Index::FindItem");
}

TEST(FunctionName, KeepsTheUnnamedNamespaceOfBothCompilers) {
  EXPECT_EQ(ClUnilogFname("void packetdb::{anonymous}::LogTime(const char*)", "LogTime"),
            "packetdb::{anonymous}::LogTime");
  EXPECT_EQ(ClUnilogFname("void packetdb::(anonymous namespace)::LogTime(int)", "LogTime"),
            "packetdb::(anonymous namespace)::LogTime");
}

TEST(FunctionName, FallsBackToTheShortName) {
  EXPECT_EQ(ClUnilogFname("something else", "next"), "next");
}

}  // namespace
