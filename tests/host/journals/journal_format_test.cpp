// Telling journals from other record files, and today's from those of earlier releases.
#include "host/journals/journal_format.h"

#include <gtest/gtest.h>

namespace packetdb::host {
namespace {

RecordFileInfo File(const char* magic, std::uint64_t record_size) {
  RecordFileInfo file;
  file.magic = magic;
  file.record_size = record_size;
  return file;
}

TEST(JournalFormat, IsToldByMagicAndRecordSize) {
  EXPECT_EQ(FormatOf(File("Zolrak-Packet-Database", 60)), JournalFormat::k3);
  EXPECT_EQ(FormatOf(File("Zolrak-Packet-Database-4", 64)), JournalFormat::k41);
  EXPECT_EQ(FormatOf(File("Zolrak-Packet-Database-4", 72)), JournalFormat::k4);
}

TEST(JournalFormat, IsNoneForEveryOtherPair) {
  EXPECT_EQ(FormatOf(File("Zolrak-Packet-Database", 64)), JournalFormat::kOther);
  EXPECT_EQ(FormatOf(File("Zolrak-Packet-Database", 72)), JournalFormat::kOther);
  EXPECT_EQ(FormatOf(File("Zolrak-Packet-Database-4", 60)), JournalFormat::kOther);
  EXPECT_EQ(FormatOf(File("Zolrak-Packet-Database-4", 80)), JournalFormat::kOther);
  EXPECT_EQ(FormatOf(File("Another", 72)), JournalFormat::kOther);
}

TEST(JournalFormat, HasANameForPeople) {
  EXPECT_EQ(FormatName(JournalFormat::k3), "3");
  EXPECT_EQ(FormatName(JournalFormat::k41), "4.1");
  EXPECT_EQ(FormatName(JournalFormat::k4), "4");
  EXPECT_EQ(FormatName(JournalFormat::kOther), "none");
}

TEST(JournalFormat, IsOldWhenAWriterConvertsIt) {
  EXPECT_TRUE(IsOldFormat(JournalFormat::k3));
  EXPECT_TRUE(IsOldFormat(JournalFormat::k41));
  EXPECT_FALSE(IsOldFormat(JournalFormat::k4));
  EXPECT_FALSE(IsOldFormat(JournalFormat::kOther));
}

}  // namespace
}  // namespace packetdb::host
