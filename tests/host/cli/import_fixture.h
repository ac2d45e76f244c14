// Captures in a fresh directory, and imports of them.
#pragma once

#include <gtest/gtest.h>
#include <string>
#include <string_view>

#include "host/cli/import_command.h"
#include "tests/host/cli/import_model.h"
#include "tests/host/sources/temp_dir.h"

namespace packetdb::host::test {

struct ImportResult {
  int exit_code = 0;
  std::string output;
  std::string errors;
};

class Importing : public testing::Test {
 protected:
  static constexpr long kWindow = 60;
  static constexpr int kCapacity = 1000;

  Importing();

  // Writes a file and returns its path.
  std::string File(std::string_view name, const Bytes& bytes) {
    return directory_.File(name, bytes);
  }
  // Imports these packets, a capture each.
  ImportResult Import(const std::vector<Packets>& captures);
  // Imports these files.
  ImportResult ImportFiles(const std::vector<std::string>& paths);

  std::string Journal() const;
  std::string Catalogue() const;
  bool AnythingJournaled() const;  // the directory of the journals exists
  std::vector<PacketDbItemPacked> Records() const;

  const TempDir directory_;
  ImportOptions options_;
  int captures_ = 0;
};

}  // namespace packetdb::host::test
