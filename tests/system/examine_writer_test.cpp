// The commands that look at a journal file, as real processes, beside a writer and without one.
#include <csignal>
#include <gmock/gmock.h>
#include <nlohmann/json.hpp>
#include <sstream>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include "host/record_file/probe.h"
#include "tests/host/cli/stored_journal.h"
#include "tests/system/support/eventually.h"
#include "tests/system/support/exit_codes.h"
#include "tests/system/support/program.h"
#include "tests/system/support/temporary_directory.h"

namespace packetdb::host::test {
namespace {

using nlohmann::json;

std::vector<json> Lines(const std::string& text) {
  std::vector<json> values;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    values.push_back(json::parse(line));
  }
  return values;
}

// The record `number` as the writer below makes it, overwritten `version` times.
PacketDbItemPacked Made(std::uint32_t number, std::uint32_t version) {
  PacketDbItemPacked record = RecordAt(number / 1000, version + 1);
  record.m_SrcIp = number;
  return record;
}

// A process that appends to a journal and overwrites its records, as fast as it can.
class BusyWriter {
 public:
  BusyWriter(const std::string& path, unsigned long capacity) : pid_(fork()) {
    if (pid_ == 0) {
      Write(path, capacity);
    }
    EXPECT_TRUE(Eventually([&] { return Appended(path) > 2 * capacity; }));
  }
  ~BusyWriter() {
    kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
  }
  BusyWriter(const BusyWriter&) = delete;
  BusyWriter& operator=(const BusyWriter&) = delete;

  bool IsAtWork() const { return waitpid(pid_, nullptr, WNOHANG) == 0; }

 private:
  [[noreturn]] static void Write(const std::string& path, unsigned long capacity) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    CDbFile file;
    OpenToWrite(file, path, JournalFormat::k4, capacity);
    for (std::uint32_t number = 0;; ++number) {
      const int ticket = AppendTo(file, JournalFormat::k4, Made(number, 0));
      for (std::uint32_t version = 1; ticket >= 0 && version <= 3; ++version) {
        const PacketDbItemPacked record = Made(number, version);
        file.WriteRecord(ticket, &record);
      }
      if (ticket < 0) {
        _exit(1);
      }
    }
  }

  static std::uint64_t Appended(const std::string& path) {
    RecordFileInfo info;
    return ProbeRecordFile(path, &info) == 0 ? info.next : 0;
  }

  pid_t pid_;
};

class BesideAWriter : public testing::TestWithParam<unsigned long> {
 protected:
  const TemporaryDirectory place_{"a b"};
  const std::string path_ = place_.Path("busy.journal");
  const BusyWriter writer_{path_, GetParam()};
};

TEST_P(BesideAWriter, InfoTellsWhatIsThere) {
  const Outcome outcome = RunCommand({"info", path_, "--output", "json"});
  ASSERT_EQ(outcome.status, 0) << outcome.err;
  const json info = json::parse(outcome.out);
  EXPECT_EQ(info["writer"], true);
  EXPECT_EQ(info["records"], GetParam());
  EXPECT_EQ(info["overwriting"], true);
  EXPECT_LE(info["records_read"].get<std::uint64_t>(), GetParam());
  EXPECT_TRUE(writer_.IsAtWork());
}

TEST_P(BesideAWriter, CheckFindsNoDamageAndSaysThatItIsInUse) {
  const Outcome outcome = RunCommand({"check", path_, "--output", "json"});
  EXPECT_EQ(outcome.status, kExitInUse) << outcome.out << outcome.err;
  const json check = json::parse(outcome.out);
  EXPECT_EQ(check["result"], "in_use");
  EXPECT_EQ(check["writer"], true);
  EXPECT_TRUE(check["findings"].empty()) << check["findings"];
  EXPECT_TRUE(writer_.IsAtWork());
}

TEST_P(BesideAWriter, DumpShowsOnlyRecordsThatWereWritten) {
  const Outcome outcome = RunCommand({"dump", path_, "--output", "json"});
  ASSERT_EQ(outcome.status, 0) << outcome.err;
  std::uint64_t last = 0;
  for (const json& line : Lines(outcome.out)) {
    ASSERT_GE(line["record"], last);
    last = line["record"];
    if (line["state"] == "gone") {
      continue;
    }
    ASSERT_EQ(line["state"], "whole");
    const PacketDbItemPacked made =
        Made(static_cast<std::uint32_t>(last), line["m_Count"].get<std::uint32_t>() - 1);
    ASSERT_EQ(line["m_SrcIp"], +made.m_SrcIp);
    ASSERT_EQ(line["m_CountCopy"], +made.m_CountCopy);
    ASSERT_EQ(line["m_PacketSize"], +made.m_PacketSize);
    ASSERT_EQ(line["m_FirstTime"], +made.m_FirstTime);
  }
  EXPECT_TRUE(writer_.IsAtWork());
}

INSTANTIATE_TEST_SUITE_P(Capacities, BesideAWriter, testing::Values(10UL, 2000UL),
                         testing::PrintToStringParamName());

TEST(ExamineTest, DumpIsTheJournal) {
  const TemporaryDirectory place;
  std::vector<PacketDbItemPacked> records;
  for (std::uint32_t i = 0; i < 3000; ++i) records.push_back(Made(i, i % 5));
  const std::string path = place.Path("all.journal");
  Store(path, records, 2000);
  const std::vector<json> lines = Lines(RunCommand({"dump", path, "-o", "json", "--hex"}).out);
  ASSERT_EQ(lines.size(), 2000U);
  for (std::size_t i = 0; i < lines.size(); ++i) {
    const PacketDbItemPacked& record = records[1000 + i];
    ASSERT_EQ(lines[i]["record"], 1000 + i);
    ASSERT_EQ(lines[i]["m_SrcIp"], +record.m_SrcIp);
    ASSERT_EQ(lines[i]["m_Count"], +record.m_Count);
    ASSERT_EQ(lines[i]["first_seen_unix"], record.m_FirstTime + TIME_1980_OFFSET);
    std::string bytes;
    for (const char byte : StoredAs(JournalFormat::k4, record)) {
      constexpr char kDigits[] = "0123456789abcdef";
      bytes += kDigits[static_cast<unsigned char>(byte) / 16];
      bytes += kDigits[static_cast<unsigned char>(byte) % 16];
    }
    ASSERT_EQ(lines[i]["hex"], bytes);
  }
}

TEST(ExamineTest, LooksAtJournalsOfEveryFormat) {
  const TemporaryDirectory place("a b");
  for (const JournalFormat format : {JournalFormat::k3, JournalFormat::k41, JournalFormat::k4}) {
    const std::string name(FormatName(format));
    Store(place.Path(name), {RecordAt(0), RecordAt(1)}, 10, format);
    for (const char* command : {"info", "check", "dump"}) {
      const Outcome outcome = RunCommand({command, place.Path(name), "-o", "json"});
      EXPECT_EQ(outcome.status, 0) << command << " " << outcome.err;
      EXPECT_EQ(Lines(outcome.out).front()["format"], name);
    }
  }
}

}  // namespace
}  // namespace packetdb::host::test
