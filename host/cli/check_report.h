// What a check of a journal file found.
#pragma once

#include <array>
#include <cstdint>
#include <cstdio>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "host/cli/check_records.h"
#include "host/journals/journal_format.h"
#include "host/record_file/check.h"

namespace packetdb::host {

class CheckReport {
 public:
  explicit CheckReport(std::string path) : path_(std::move(path)) {}

  void Add(const Finding& finding);
  // What the records are and how many were read; left out where the file could not be read as far.
  void SetRecords(JournalFormat format, const RecordsChecked& checked);
  // Somebody has the file open for writing, or had while it was checked.
  void SetWriter() { writer_ = true; }

  std::uint64_t Count(Severity severity) const;
  bool damaged() const { return Count(Severity::kDamage) != 0; }
  bool writer() const { return writer_; }

  // A line for each finding, damage first, and one that sums up.
  void PrintText(std::FILE* out) const;
  // One object; docs/guide.md has its keys.
  void PrintJson(std::FILE* out) const;

 private:
  std::string Verdict() const;
  std::string Counts() const;
  std::uint64_t LeftOut(Severity severity) const;
  void PrintFindings(Severity severity, std::FILE* out) const;
  std::string RecordsRead() const;

  std::string path_;
  // By severity, so that warnings never keep damage from being listed: the first kMostFindings.
  std::array<std::vector<Finding>, 3> findings_;
  std::array<std::uint64_t, 3> counts_ = {};
  std::optional<JournalFormat> format_;
  RecordsChecked checked_;
  bool writer_ = false;
};

}  // namespace packetdb::host
