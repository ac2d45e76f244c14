// What the stores have in common. Each is a class with the same operations, so that a row of the
// benchmark is one template and no store pays for a virtual call that the others do not:
//
//   Store(path, options)         makes an empty store; everything throws std::runtime_error
//   void Fill(count)             appends at least `count` records by the fastest way that it has
//   void Append(record)
//   void Overwrite(position, record)
//   void Read(position, record)
//   void ReadMany(first, records, count)
//   void Finish()                commits what was collected; before reading, and at the end
//
// Positions are those of writing: 0 is the oldest record that is kept.
#pragma once

#include <stdexcept>
#include <string>

namespace packetdb::bench {

inline constexpr int kBatch = 1000;  // records of one transaction, where a store collects them

// What is left of the records that were stored without complaint.
struct Promise {
  std::string after_kill;       // of the process
  std::string after_power_cut;  // of the machine
};

// One way to use a store.
template <class Store>
struct Variant {
  std::string name;
  typename Store::Options options;
  Promise promise;
  bool is_on_disk_at_once = false;  // compared with the others that are, not with those that wait
};

// Throws what went wrong in which store. Composes no text while all is well: it is timed.
inline void Require(bool is_good, const char* what) {
  if (!is_good) throw std::runtime_error(what);
}

}  // namespace packetdb::bench
