// The keys of the configuration, written out for people. Pages and files that say the same are held
// to this.
#pragma once

#include <string>

#include "host/config/configuration.h"

namespace packetdb::host {

class Section;

// A file in which every key is there, as a comment: packaging/packetdb.toml. As it is, it changes
// nothing.
std::string ExampleConfiguration();
// The same for the file of nodes.
std::string ExampleNodes();

// The keys of a table, as a table of a page: key, what it takes, default, meaning, and whether a
// change takes a reload or a restart.
std::string ReferenceTable(const Section& section);
// The default names of event codes, likewise.
std::string EventNameTable();

// A configuration as a file that gives it again: every key, with the value that holds.
std::string ShowConfiguration(const Configuration& configuration);
// Its nodes, as a file of nodes.
std::string ShowNodes(const Configuration& configuration);

}  // namespace packetdb::host
