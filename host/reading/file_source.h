// The rows of a journal's file, without a daemon.
#pragma once

#include <memory>
#include <string>
#include <unordered_map>

#include "host/reading/interface_choice.h"
#include "host/reading/journal_view.h"
#include "host/reading/row_source.h"

namespace packetdb::host {

// The file is only looked at, also while a writer is at work in it: no lock is taken and nothing is
// changed. Journals of earlier formats are read as well. Interfaces have the names that the
// catalogue beside the journal has; without one they have none.
//
// Describe fixes the records that are read from then on, those of that moment; their counts are
// those of the moment when they are read.
class FileSource : public RowSource {
 public:
  // Throws JournalError, with path and reason, when there is no journal or it cannot be read.
  explicit FileSource(std::string path, InterfaceChoice choice = {});

  ReadResult Describe(SourceFacts* facts) override;
  ReadResult Read(const Query& query, const RowSink& sink) override;

  // How often a record was met that is damaged, and so was left out.
  std::uint64_t damaged() const { return view_->damaged(); }

 private:
  class Reading;

  void LoadNames();

  std::string path_;
  InterfaceChoice choice_;
  std::unique_ptr<JournalView> view_;
  std::unordered_map<std::uint64_t, std::string> names_;  // of interfaces, by hash; none ever goes
  long window_seconds_;
};

}  // namespace packetdb::host
