#include "host/reading/file_source.h"

#include <algorithm>
#include <fmt/format.h>
#include <utility>

#include "host/journals/catalogue.h"
#include "host/journals/error.h"
#include "host/journals/names.h"

namespace packetdb::host {

namespace {

// Where no catalogue says how long a record may have lasted: longer than any sensible window, so
// that records which began well before a range are not missed.
constexpr long kUnknownWindowSeconds = 86400;

constexpr std::int64_t kLatestTime = 0xFFFFFFFF;  // seconds since 1980 that a record can hold

// "DIR/all.group" for "DIR/all.journal"; empty for a file that is called otherwise.
std::string CatalogueBeside(const std::string& journal) {
  if (!journal.ends_with(kJournalSuffix)) {
    return {};
  }
  return journal.substr(0, journal.size() - kJournalSuffix.size()) + std::string(kCatalogueSuffix);
}

PacketDbItem Unpacked(const PacketDbItemPacked& record) {
  PacketDbItem item;
  item.m_AdapterNameHash = record.m_AdapterNameHash;
  CDrvErrorItemV4& event = item.m_Item;
  event.m_SrcIp = record.m_SrcIp;
  event.m_DstIp = record.m_DstIp;
  event.m_Flags = record.m_Flags;
  event.m_ErrorCode = record.m_ErrorCode;
  event.m_Word10 = record.m_Word10;
  event.m_Protocol = record.m_Protocol;
  event.m_SrcPort = record.m_SrcPort;
  event.m_DstPort = record.m_DstPort;
  event.m_SrcId = record.m_SrcId;
  event.m_DstId = record.m_DstId;
  event.m_Count = record.m_Count;
  event.m_FirstTime = record.m_FirstTime;
  event.m_LastTime = record.m_LastTime;
  event.m_PacketSize = record.m_PacketSize;
  return item;
}

}  // namespace

// One walk from the newest record that the query may select back to the oldest.
class FileSource::Reading {
 public:
  Reading(const FileSource& source, const Query& query, const RowSink& sink)
      : source_(source), view_(*source.view_), query_(query), sink_(sink) {
    query_.m_AdapterNameHash = 0;
    oldest_first_ = query.m_TimeStart - TIME_1980_OFFSET - source.window_seconds_;
  }

  ReadResult Run() {
    const std::int64_t until = query_.m_TimeEnd - TIME_1980_OFFSET;
    if (until < 0) {
      return {ReadOutcome::kNothing};
    }
    std::uint64_t sequence =
        view_.FirstAfter(static_cast<std::uint32_t>(std::min(until, kLatestTime)));
    while (!is_over_ && sequence > view_.oldest()) {
      if (const auto record = view_.Read(--sequence); record) {
        Take(*record);
      }
    }
    return result_;
  }

 private:
  void Take(const PacketDbItemPacked& record) {
    if (record.m_FirstTime < oldest_first_) {
      is_over_ = true;
      return;
    }
    const PacketDbItem item = Unpacked(record);
    if (!query_.match(item)) {
      return;
    }
    const Row row = {.event = item.m_Item, .interface = NameOf(item.m_AdapterNameHash)};
    if (source_.choice_.Takes(row.interface)) {
      Give(row);
    }
  }

  void Give(const Row& row) {
    result_.outcome = ReadOutcome::kDone;
    if (!sink_(row)) {
      result_.outcome = ReadOutcome::kStopped;
      is_over_ = true;
    } else if (++rows_ == query_.m_RecCount) {
      result_.cut_at = FirstSeen(row);
      is_over_ = true;
    }
  }

  // Neighbours are mostly of one interface.
  std::string_view NameOf(std::uint64_t hash) {
    if (hash != last_hash_) {
      const auto found = source_.names_.find(hash);
      last_name_ = found == source_.names_.end() ? std::string_view() : found->second;
      last_hash_ = hash;
    }
    return last_name_;
  }

  const FileSource& source_;
  JournalView& view_;
  Query query_;
  const RowSink& sink_;
  std::int64_t oldest_first_ = 0;  // seconds since 1980: what began before is over too early
  ReadResult result_ = {ReadOutcome::kNothing};
  std::uint64_t rows_ = 0;
  bool is_over_ = false;
  std::uint64_t last_hash_ = 0;
  std::string_view last_name_;
};

FileSource::FileSource(std::string path, InterfaceChoice choice)
    : path_(std::move(path)),
      choice_(std::move(choice)),
      view_(std::make_unique<JournalView>(path_)),
      window_seconds_(kUnknownWindowSeconds) {
  LoadNames();
}

// Behind the view: an interface is in the catalogue before its first record is in the journal.
void FileSource::LoadNames() {
  const std::string path = CatalogueBeside(path_);
  if (path.empty()) {
    return;
  }
  try {
    const Catalogue catalogue = Catalogue::Load(path);
    window_seconds_ = catalogue.window();
    for (const std::string& name : catalogue.interfaces()) {
      names_.emplace(adapter_name_hash(name), name);
    }
  } catch (const JournalError&) {
    // Names are not worth the rows.
  }
}

ReadResult FileSource::Describe(SourceFacts* facts) {
  try {
    if (!view_->IsCurrent()) {
      view_ = std::make_unique<JournalView>(path_);
      LoadNames();
    }
    SourceFacts found;
    found.records = view_->end() - view_->oldest();
    found.changes = view_->changes();
    found.window_seconds = window_seconds_;
    if (const auto oldest = view_->Oldest(); oldest) {
      found.oldest = std::int64_t{oldest->m_FirstTime} + TIME_1980_OFFSET;
    }
    if (const auto newest = view_->Newest(); newest) {
      found.newest = std::int64_t{newest->m_FirstTime} + TIME_1980_OFFSET;
    }
    *facts = found;
    return {};
  } catch (const JournalError& error) {
    return {ReadOutcome::kFailed, error.what()};
  }
}

ReadResult FileSource::Read(const Query& query, const RowSink& sink) {
  const bool is_known = std::any_of(names_.begin(), names_.end(), [this](const auto& name) {
    return choice_.Takes(name.second);
  });
  if (!choice_.patterns.empty() && !is_known) {
    return {ReadOutcome::kNoSuchName, fmt::format("no interface of {} is called like {}", path_,
                                                  fmt::join(choice_.patterns, " or "))};
  }
  try {
    return Reading(*this, query, sink).Run();
  } catch (const JournalError& error) {
    return {ReadOutcome::kFailed, error.what()};
  }
}

}  // namespace packetdb::host
