#include "host/reading/row_labels.h"

#include <algorithm>

#include "host/reading/row_key.h"

namespace packetdb::host {

namespace {

std::string KeyWithoutInterface(const Row& row) {
  return KeyOf({.event = row.event, .interface = {}});
}

}  // namespace

void RowLabels::Add(const Row& row) {
  candidates_[KeyWithoutInterface(row)].push_back(
      {row.interface, row.event.m_Count, row.event.m_LastTime});
}

bool RowLabels::Label(std::vector<Row>* rows) {
  bool is_complete = true;
  for (Row& row : *rows) {
    if (row.interface.empty()) {
      row.interface = Take(row);
      is_complete = is_complete && !row.interface.empty();
    }
  }
  return is_complete;
}

// Where several fit, that which did not change since is the one.
std::string_view RowLabels::Take(const Row& row) {
  const auto found = candidates_.find(KeyWithoutInterface(row));
  if (found == candidates_.end() || found->second.empty()) {
    return {};
  }
  std::vector<Candidate>& fitting = found->second;
  auto taken = std::find_if(fitting.begin(), fitting.end(), [&row](const Candidate& candidate) {
    return candidate.count == row.event.m_Count && candidate.last_time == row.event.m_LastTime;
  });
  taken = taken == fitting.end() ? fitting.begin() : taken;
  const std::string_view interface = taken->interface;
  fitting.erase(taken);
  return interface;
}

}  // namespace packetdb::host
