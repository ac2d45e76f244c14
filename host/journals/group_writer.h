// The one writer of a group's journal.
#pragma once

#include <boost/shared_ptr.hpp>
#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "host/journals/catalogue.h"
#include "host/journals/conversion.h"
#include "packetdb/storage.h"

namespace packetdb::host {

inline constexpr int kDefaultCapacity = 1000000;   // records, about 80 bytes each
inline constexpr long kDefaultWindowSeconds = 60;  // how long an event takes up repeats

struct GroupOptions {
  std::string directory;
  std::string group;
  // What an existing journal has wins over the defaults. Asking for another capacity resizes it;
  // asking for another window is an error.
  std::optional<int> capacity;
  std::optional<long> window_seconds;
  bool keep_old = false;  // keep the old file of a journal that has to be converted
};

// Numbers of records that a journal keeps; 0: no bound.
struct Resizing {
  std::uint64_t before = 0;
  std::uint64_t asked_for = 0;
  std::uint64_t now = 0;  // as before when there was no room for the new file beside the old
};

// How often the journals that this process opens from then on are flushed to the disk: after an
// interval or so many bytes of records, whichever comes first.
void SetFlushing(std::chrono::milliseconds interval, std::uint64_t bytes);

// One line without a full stop.
std::string Describe(const Resizing& resizing, const std::string& journal);

class GroupWriter {
 public:
  // Opens the group's journal for writing, after creating it (and the directory) when it is
  // missing and converting it when it is of an earlier format. Throws JournalError, also when
  // somebody else has the journal open.
  explicit GroupWriter(const GroupOptions& options);
  ~GroupWriter();  // closes the journal
  GroupWriter(const GroupWriter&) = delete;
  GroupWriter& operator=(const GroupWriter&) = delete;

  // Journals one event that was seen on `interface`. The caller sees to it that times never
  // decrease: queries bisect the journal by them.
  void Add(const CDrvErrorItemV4& event, const std::string& interface);

  // The same in two steps, for who journals many events of many interfaces: Know puts the interface
  // on disk and gives the hash that AddKnown needs; it opens no file. Know throws JournalError.
  // AddKnown returns 0, or a negative code when the record file refused the event, for which Reason
  // has a sentence without a full stop.
  std::size_t Know(const std::string& interface);
  int AddKnown(const CDrvErrorItemV4& event, std::size_t hash, const std::string& interface);
  static std::string_view Reason(int code);

  // The first-seen time of the newest record that is not damaged, seconds since 1980; 0 for a
  // journal without one. Throws JournalError when it cannot be read.
  std::uint32_t NewestTime() const;
  // How many records were ever appended, those that were overwritten since included. Throws
  // JournalError.
  std::uint64_t RecordsAppended() const;
  int RecordCount() const;
  // The conversion that opening made, or completed after a crash.
  const std::optional<Conversion>& conversion() const { return conversion_; }
  // What became of the wish for another capacity than the journal had.
  const std::optional<Resizing>& resizing() const { return resizing_; }
  const std::string& path() const { return path_; }  // of the journal
  long window_seconds() const { return catalogue_.window(); }

 private:
  void OpenJournal(const GroupOptions& options);
  int OpenWith(int capacity);

  std::string path_;
  bool known_before_;  // the group had a catalogue already
  Catalogue catalogue_;
  std::optional<Conversion> conversion_;
  std::optional<Resizing> resizing_;
  boost::shared_ptr<IJournalStorage> storage_;
  std::string last_interface_;
  std::size_t last_hash_ = 0;
};

}  // namespace packetdb::host
