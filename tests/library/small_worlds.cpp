#include "tests/library/small_worlds.h"

namespace packetdb::test {

namespace {

// One packet or more, seen from one second to another: every pair of them.
Records EveryTime() {
  Records records;
  for (const auto first : kSeconds) {
    for (const auto last : kSeconds) {
      if (first <= last) records.push_back(EventAt(first).Last(last));
    }
  }
  return records;
}

// Each of the records with each address and port on one side.
template <class SetSide>
Records VarySide(const Records& records, SetSide set) {
  Records varied;
  for (const Event& record : records) {
    for (const auto address : kAddresses) {
      for (const auto port : kPorts) {
        varied.push_back(record);
        set(varied.back(), address, port);
      }
    }
  }
  return varied;
}

}  // namespace

Records RecordsFromAddresses() {
  Records records;
  for (const Event& record : EveryTime()) {
    for (const auto address : kAddresses) records.push_back(Event(record).Src(address));
  }
  return records;
}

Records EveryRecord() {
  const auto source = [](Event& record, auto address, auto port) { record.Src(address, port); };
  const auto destination = [](Event& record, auto address, auto port) {
    record.Dst(address, port);
  };
  return VarySide(VarySide(EveryTime(), source), destination);
}

std::vector<Records> EveryJournal(const Records& records, std::size_t size) {
  std::vector<Records> journals{{}};
  for (std::size_t i = 0; i < journals.size(); ++i) {
    if (journals[i].size() == size) continue;
    for (const Event& record : records) {
      if (!journals[i].empty() && record.m_FirstTime < journals[i].back().m_FirstTime) continue;
      Records longer = journals[i];
      longer.push_back(record);
      journals.push_back(longer);
    }
  }
  return journals;
}

std::vector<Query> EveryRange(const std::vector<std::uint32_t>& starts,
                              const std::vector<std::uint32_t>& ends) {
  std::vector<Query> queries;
  for (const auto start : starts) {
    for (const auto end : ends) {
      queries.push_back(QueryBetween(start, end));
      // An empty list would try to write a trace at every match.
      queries.back().m_Protocols.push_back(0);
    }
  }
  return queries;
}

void SmallWorlds::Fill(const Records& journal, time_t window) {
  records_ = journal;
  window_ = window;
  journal_.reset();
  Files().Reset();
  journal_ = std::make_unique<Journal>(100000, window);
  Clock().Set(0);
  for (std::uint32_t i = 0; i < records_.size(); ++i) {
    records_[i].m_Dword1F = i;  // makes it an event of its own, and tells where it is
    journal_->storage().AddRecord(&records_[i], 0, "");
  }
}

Positions SmallWorlds::Ask(const Query& query) {
  DbItemSelection selection;
  journal_->storage().CreateStorageIter(query)->SelectRecords(selection);
  Positions positions;
  for (const PacketDbItem& item : selection) positions.push_back(Value(item.m_Item.m_Dword1F));
  return positions;
}

void SmallWorlds::ExpectModel(const std::vector<Query>& queries) {
  for (const Query& query : queries) {
    ASSERT_EQ(Ask(query), ModelSelection(records_, query, window_))
        << Describe(query) << ", window " << window_ << ", of\n"
        << Describe(records_);
    ++cases_;
  }
  Calls().Forget();
}

}  // namespace packetdb::test
