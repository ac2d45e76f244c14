// docs/guide.md names every key and kind that the commands for journal files print.
#include <gmock/gmock.h>

#include "host/cli/check_command.h"
#include "host/cli/check_records.h"
#include "host/cli/dump_command.h"
#include "host/cli/info_command.h"
#include "host/record_file/layout.h"
#include "tests/host/cli/examining.h"
#include "tests/host/journals/support.h"

namespace packetdb::host::test {
namespace {

class Guide : public Examining {
 protected:
  Guide() {
    Store(path_, {RecordAt(0), RecordAt(100)});
    Overwrite(path_, kStateOffset + 20, "x");
  }

  // Fields are named from the first to the last of them.
  void ExpectNamed(const std::string& key) const {
    const std::string suffix = "_unix";
    const bool is_unix = key.ends_with(suffix);
    const std::string name = is_unix ? key.substr(0, key.size() - suffix.size()) : key;
    EXPECT_TRUE(key.starts_with("m_") || guide_.find('`' + name + '`') != std::string::npos) << key;
  }
  void ExpectKeysNamed(const std::function<ExitCode()>& command) const {
    const nlohmann::json object = nlohmann::json::parse(Observe(command).out);
    EXPECT_GT(object.size(), 5U);
    for (const auto& [key, value] : object.items()) ExpectNamed(key);
  }

  const std::string guide_ = ReadText(PACKETDB_SOURCE_DIR "/docs/guide.md");
};

TEST_F(Guide, NamesTheKeysOfInfo) {
  ExpectKeysNamed([this] { return RunInfo({path_, "json"}); });
}

TEST_F(Guide, NamesTheKeysOfCheck) {
  ExpectKeysNamed([this] { return RunCheck({path_, "json"}); });
  for (const char* key : {"position", "severity", "kind", "text"}) ExpectNamed(key);
}

TEST_F(Guide, NamesTheKeysOfRescue) {
  ExpectKeysNamed([this] {
    return RunCheck({path_, "json", {directory_.Path("saved"), "", "", ""}});
  });
}

TEST_F(Guide, NamesTheStatesOfAFileAndOfARecord) {
  for (const char* word :
       {"closed", "open", "not_closed", "flush_failed", "damaged", "gone", "lost"}) {
    ExpectNamed(word);
  }
}

TEST_F(Guide, NamesTheKeysOfDump) {
  ExpectKeysNamed([this] { return RunDump({path_, "json", "1", "1", true}); });
  ExpectNamed("last_record");
}

TEST_F(Guide, NamesTheKindsOfFindings) {
  for (const std::string_view kind :
       {kFindSuperblock, kFindNumber,      kFindReserved,    kFindLength,        kFindState,
        kFindRedo,       kFindFrame,       kFindUnusedSlot,  kFindPadding,       kFindLost,
        kFindNotClosed,  kFindFlushFailed, kFindRedoPending, kFindAppendPending, kFindCount,
        kFindCountCopy,  kFindTimes,       kFindOrder,       kFindReservedField, kFindConversion}) {
    ExpectNamed(std::string(kind));
  }
}

}  // namespace
}  // namespace packetdb::host::test
