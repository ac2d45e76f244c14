// The rows of a journal or an interface that a daemon serves.
#pragma once

#include <memory>
#include <set>
#include <string>
#include <vector>

#include "host/bus/connection.h"
#include "host/names/names.h"
#include "host/reading/interface_choice.h"
#include "host/reading/row_source.h"

namespace packetdb::host {

// Keeps one connection, and makes another one when that has broken: also over a restart of the
// daemon it is one and the same source.
//
// The bus does not carry which interface a row was seen on. Where that matters, the interfaces of
// the group are asked for by their names as well. Then, and only then, all rows of one Read are in
// memory at once, and two cases differ. With patterns, the answers of the interfaces that fit are
// put together in the order of time, and a query's limit holds for each of them. Otherwise the rows
// are those of the group, in its order, and each is looked for in the answers of the interfaces: a
// row that is in none of them has an empty one.
class DaemonSource : public RowSource {
 public:
  // Makes a connection, or says in `failure` why it cannot.
  using Connector = std::function<std::unique_ptr<Connection>(BusFailure* failure)>;

  // `name` is that of a group or an interface.
  DaemonSource(Connector connect, std::string name, InterfaceChoice choice = {});

  ReadResult Describe(SourceFacts* facts) override;
  ReadResult Read(const Query& query, const RowSink& sink) override;

  // What the daemon calls things; what holds where nobody says otherwise, when it cannot be asked.
  Names AskNames();

 private:
  using Exchange = std::function<ReadResult(Connection&)>;

  ReadResult WithConnection(const Exchange& exchange);
  ReadResult ReadName(const Query& query, const std::string& name, std::string_view interface,
                      const RowSink& sink);
  ReadResult ReadInterfaces(const Query& query, std::set<std::string_view>* read,
                            const RowSink& sink);
  ReadResult ReadMerged(const Query& query, const RowSink& sink);
  ReadResult ReadLabelled(const Query& query, const RowSink& sink);

  Connector connect_;
  std::string name_;
  InterfaceChoice choice_;
  std::unique_ptr<Connection> connection_;
  bool is_described_ = false;
  bool is_interface_ = false;          // the name is that of one
  std::set<std::string> known_;        // names of interfaces that rows refer to
  std::set<std::string_view> served_;  // of these, those that the group can be asked for now
};

}  // namespace packetdb::host
