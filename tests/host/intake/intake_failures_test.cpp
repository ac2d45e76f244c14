// Journals that cannot be opened, and disks that refuse: a clear error at the start, a count and a
// line a minute afterwards, and events again as soon as that works.
#include <csignal>
#include <filesystem>
#include <gmock/gmock.h>
#include <sys/resource.h>

#include "host/intake/rule_dictionary.h"
#include "host/journals/error.h"
#include "host/sources/event.h"
#include "tests/host/intake/entries.h"
#include "tests/host/intake/log_lines.h"
#include "tests/host/intake/support.h"
#include "tests/host/journals/support.h"
#include "tests/host/record_file/child.h"

namespace packetdb::host::test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

class AFailingIntake : public testing::Test, protected Intaken {
 protected:
  std::string StartError() {
    return WhatOf<JournalError>([this] { Start(); });
  }
  Seen Next() { return Seen().From(++address_); }

 private:
  std::uint32_t address_ = 0x0A000100;
};

TEST_F(AFailingIntake, SaysWhichJournalIsInUse) {
  Start();
  const std::string error = "cannot open journal " + Path("all.journal") +
                            ": the record file is in use by another process; try again when that "
                            "is done";
  EXPECT_EQ(InChild([&] { return StartError() == error ? 0 : 1; }), 0);
}

TEST_F(AFailingIntake, SaysWhichJournalIsDamaged) {
  WriteText(Path("all.journal"), "this is no journal, and not empty either");
  EXPECT_THAT(StartError(), testing::StartsWith("cannot open journal " + Path("all.journal")));
}

TEST_F(AFailingIntake, SaysWhichDirectoryCannotBeWritten) {
  std::filesystem::permissions(Path(), std::filesystem::perms(0555));
  EXPECT_EQ(InChild([&] {
              return BecomeOrdinaryUser() && StartError().find(Path()) != std::string::npos ? 0 : 1;
            }),
            0);
  std::filesystem::permissions(Path(), std::filesystem::perms(0755));
}

TEST_F(AFailingIntake, SaysWhichDictionaryIsNone) {
  WriteText(Path("rules.dictionary"), "this is none\n");
  EXPECT_EQ(StartError(), Path("rules.dictionary") + ":1: not a rule dictionary");
}

TEST_F(AFailingIntake, TellsOfDamagedLinesOfTheDictionary) {
  WriteText(Path("rules.dictionary"), DictionaryText({}) + "a\nb\nc\nd\ne\n");
  const LogLines lines;
  Start();
  const std::string path = Path("rules.dictionary");
  EXPECT_THAT(lines.All(), ElementsAre(path + ":2: a damaged line, which is passed over",
                                       path + ":3: a damaged line, which is passed over",
                                       path + ":4: a damaged line, which is passed over",
                                       path + ": 2 more damaged lines"));
}

TEST_F(AFailingIntake, CountsEventsOfAnInterfaceThatCannotBePutOnDisk) {
  Start();
  std::filesystem::remove(Path("all.group"));
  const LogLines lines;
  const std::int64_t now = Seen().event.event.time;
  Take({Next().At(now), Next().At(now), Next().At(now + 1), Next().At(now + 60)});
  EXPECT_EQ(Journal().failed.Get(), 4U);
  EXPECT_EQ(Journal().events.Get(), 0U);
  EXPECT_EQ(Source().journaled.Get(), 0U);
  const std::string reason = " not journaled: cannot write " + Path("all.group") +
                             ": it was removed or replaced while it was in use";
  EXPECT_THAT(lines.All(),
              ElementsAre("journal all: 1 event" + reason, "journal all: 3 events" + reason));
}

TEST_F(AFailingIntake, KeepsJournalingTheInterfacesThatAreOnDisk) {
  Take({Next().On("eth0")});
  std::filesystem::remove(Path("all.group"));
  Take({Next().On("eth1"), Next().On("eth0")});
  EXPECT_EQ(Journal().failed.Get(), 1U);
  EXPECT_EQ(Journal().events.Get(), 2U);
}

// No file of the process is written beyond some bytes while it lives.
class FullDisk {
 public:
  explicit FullDisk(std::size_t bytes) {
    getrlimit(RLIMIT_FSIZE, &before_);
    const rlimit limit{bytes, before_.rlim_max};
    setrlimit(RLIMIT_FSIZE, &limit);
  }
  ~FullDisk() {
    setrlimit(RLIMIT_FSIZE, &before_);
    std::signal(SIGXFSZ, handler_);
  }
  FullDisk(const FullDisk&) = delete;
  FullDisk& operator=(const FullDisk&) = delete;

 private:
  rlimit before_{};
  void (*handler_)(int) = std::signal(SIGXFSZ, SIG_IGN);
};

TEST_F(AFailingIntake, TriesTheDiskAgainASecondLater) {
  const std::int64_t now = Seen().event.event.time;
  Start();
  {
    const FullDisk full(1);
    Take({Next().At(now), Next().At(now)});
  }
  Take({Next().At(now), Next().At(now + 1), Next().At(now + 1)});
  EXPECT_EQ(Journal().failed.Get(), 3U) << "not with every event of the same second";
  EXPECT_EQ(Journal().events.Get(), 2U);
}

TEST_F(AFailingIntake, JournalsWithoutANumberWhileTheDictionaryCannotBeWritten) {
  const std::int64_t now = Seen().event.event.time;
  // Long enough that the log still has room.
  const std::string dictionary = DictionaryText({EntryOf(1, std::string(250, '"'), 1)});
  WriteText(Path("rules.dictionary"), dictionary);
  Take({Next().At(now)});
  const LogLines lines;
  {
    const FullDisk full(dictionary.size());
    Take({Next().With("a").At(now), Next().With("b").At(now)});
  }
  Take({Next().With("a").At(now), Next().With("a").At(now + 1)});
  Stop();
  std::vector<std::uint32_t> numbers;
  for (const PacketDbItemPacked& record : Records()) numbers.push_back(RuleNumber(record.m_Flags));
  EXPECT_THAT(numbers, ElementsAre(0, 0, 0, 0, 2));
  EXPECT_EQ(page().rules.unnumbered.Get(), 3U);
  EXPECT_EQ(page().rules.known.Get(), 2U);
  EXPECT_THAT(lines.All(),
              ElementsAre("rule dictionary: 1 event journaled without the number of a rule: cannot "
                          "write " +
                          Path("rules.dictionary") + ": File too large"));
}

TEST_F(AFailingIntake, JournalsWithoutANumberWhenTheDictionaryIsFull) {
  WriteText(Path("rules.dictionary"), DictionaryText({EntryOf(kHighestRule, "a", 3)}));
  const LogLines lines;
  Take({Next().With("a"), Next().With("b"), Next().With("b"), Next().With("c")});
  EXPECT_EQ(page().rules.unnumbered.Get(), 3U);
  EXPECT_EQ(Journal().events.Get(), 4U);
  EXPECT_THAT(lines.All(),
              ElementsAre(Path("rules.dictionary") +
                          ": no room for the prefix 'b': events of such prefixes are journaled "
                          "without the number of a rule"));
}

// Somebody cuts the file under the writer's mapping.
TEST_F(AFailingIntake, CountsEventsThatTheJournalRefuses) {
  Take({Next()});
  std::filesystem::resize_file(Path("all.journal"), 0);
  const LogLines lines;
  Take({Next(), Next()});
  EXPECT_EQ(Journal().failed.Get(), 2U);
  EXPECT_EQ(Journal().events.Get(), 1U);
  EXPECT_THAT(lines.All(), Contains(testing::StartsWith("journal all: 1 event not journaled: ")));
}

TEST_F(AFailingIntake, TellsThatAJournalWasResized) {
  Start();
  configuration().journals[0].capacity = 2 * kCapacity;
  const LogLines lines;
  Restart();
  EXPECT_THAT(lines.All(), ElementsAre("journal " + Path("all.journal") +
                                       " keeps 2000 records from now on, 1000 before"));
}

}  // namespace
}  // namespace packetdb::host::test
