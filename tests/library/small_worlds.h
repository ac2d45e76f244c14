// Small worlds: journals and queries over so few values that all of them can be tried.
#pragma once

#include <memory>

#include "packetdb/storage_iter.h"
#include "tests/library/small_worlds_model.h"
#include "tests/support/fixture.h"

namespace packetdb::test {

// The seconds since 1980, the addresses and the ports of a small world. Of either pair one value
// has its highest bit set, so that a signed comparison would order them the other way round.
inline const std::vector<std::uint32_t> kSeconds = {1, 2, 3};
inline const std::vector<std::uint32_t> kAddresses = {0x0a000001, 0xc0000001};
inline const std::vector<std::uint16_t> kPorts = {80, 40000};

// Every record over the seconds that comes from one of the addresses: 12 of them, by first time.
Records RecordsFromAddresses();
// Every record over the seconds, addresses and ports: 96 of them, by first time.
Records EveryRecord();
// Every journal of up to `size` of these records, in order of their first times.
std::vector<Records> EveryJournal(const Records& records, std::size_t size);

// A query for each range that starts at one of these seconds and ends at one of those.
std::vector<Query> EveryRange(const std::vector<std::uint32_t>& starts,
                              const std::vector<std::uint32_t>& ends);

// Each of the queries with each of the values in a field.
template <class T>
std::vector<Query> Vary(const std::vector<Query>& queries, T Query::*field,
                        const std::vector<T>& values) {
  std::vector<Query> varied;
  for (const Query& query : queries) {
    for (const T value : values) {
      varied.push_back(query);
      varied.back().*field = value;
    }
  }
  return varied;
}

// These values, and 0 for none.
template <class T>
std::vector<T> OrNone(std::vector<T> values) {
  values.insert(values.begin(), 0);
  return values;
}

// A journal and queries to it, each compared with the model and counted.
class SmallWorlds : public LibraryTest {
 protected:
  // Replaces the journal; its records are as many events, none a repeat of another.
  void Fill(const Records& journal, time_t window);
  void ExpectModel(const std::vector<Query>& queries);

  long cases_ = 0;

 private:
  Positions Ask(const Query& query);

  Records records_;
  time_t window_ = 0;
  std::unique_ptr<Journal> journal_;
};

}  // namespace packetdb::test
