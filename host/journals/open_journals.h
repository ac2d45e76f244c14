// The journals of a directory, opened for queries.
#pragma once

#include <boost/shared_ptr.hpp>
#include <set>
#include <string>
#include <vector>

#include "packetdb/registry.h"

namespace packetdb::host {

// A name that a query may carry, and what it stands for.
struct JournalName {
  std::string name;
  std::string group;  // whose journal answers
  bool is_group = false;
  // A name answers for one journal: false for an interface whose name another group or journal has.
  bool is_served = true;
  long window_seconds = 0;  // of merging, in the group's journal
};

// Opens every journal of a directory read-only and registers it: its group's name as not dynamic,
// each of its interfaces as dynamic. A journal that cannot be used does not keep the others from
// being served.
class OpenJournals {
 public:
  // Throws JournalError when the directory itself cannot be read.
  explicit OpenJournals(const std::string& directory);
  ~OpenJournals();  // closes them
  OpenJournals(const OpenJournals&) = delete;
  OpenJournals& operator=(const OpenJournals&) = delete;

  const CPacketDbPtr& registry() const { return registry_; }
  const std::vector<std::string>& groups() const { return groups_; }
  // Each group and behind it its interfaces, in the order of their names.
  std::vector<JournalName> Names() const;
  // What could not be served, a line each, with the reason.
  const std::vector<std::string>& problems() const { return problems_; }

 private:
  struct Group {
    std::string name;
    std::set<std::string> interfaces;
    boost::shared_ptr<IJournalStorage> storage;
  };

  static Group Open(const std::string& directory, const std::string& name);
  void RegisterInterfaces(const Group& group);

  CPacketDbPtr registry_;
  std::vector<Group> opened_;
  std::vector<std::string> groups_;
  std::vector<std::string> problems_;
};

}  // namespace packetdb::host
