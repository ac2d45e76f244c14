// A journal in memory and walks over it.
#pragma once

#include <memory>

#include "packetdb/storage_iter.h"
#include "tests/support/fixture.h"

namespace packetdb::test {

class FileIterTest : public LibraryTest {
 protected:
  // Opens a journal with this merge window and one single packet at each of these seconds.
  void JournalAt(const std::vector<std::uint32_t>& seconds, time_t window = 0) {
    journal_ = std::make_unique<Journal>(1000, window);
    journal_->AddSeparately(seconds);
  }
  static Query Query1980(std::int64_t start, std::int64_t end) {
    Query query = QueryBetween(start, end);
    query.m_Protocols.push_back(0);
    return query;
  }
  // What a walk selects, newest first.
  Strings Selected(const Query& query) const {
    DbItemSelection selection;
    UnixDbFileStorageIter(journal_->storage(), query).SelectRecords(selection);
    return AllTimes(selection);
  }
  // The traces of the search and the walk, without those of matching.
  Strings Traces(const Query& query) const {
    LinesOf(5, [&] { Selected(query); });
    Strings texts;
    for (const auto& line : Log().Lines()) {
      if (line.file == "src/storage_iter") texts.push_back(line.Text());
    }
    return texts;
  }

  std::unique_ptr<Journal> journal_;
};

}  // namespace packetdb::test
