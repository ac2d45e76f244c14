// The command handler that answers journal queries on the bus.
#pragma once

#include "packetdb/query.h"
#include "packetdb/registry.h"
#include "packetdb/storage.h"
#include "platform/bus.h"

namespace packetdb {

// Answers UDB_GET_DBQUERY from a registry. The answer code is 0 with a table of at least one row
// behind it, -3 for nothing or a failure, -100 for a client of protocol version 0. When the table
// cannot be completed, -3 follows the 0.
//
// Keeps no state besides the registry. The host serialises calls with changes of the registry and
// with the feeding of events.
class PACKETDB_EXPORT UdbJournalServer : public UdbDispatcher::IUdbCallback {
 public:
  explicit UdbJournalServer(const CPacketDbPtr& db);
  ~UdbJournalServer() override;

  // Appends the handler to the dispatcher's table; does nothing, with a notice in the log, when
  // `db` is null. Throws std::bad_alloc with the table unchanged.
  static void RegisterCallbacks(const CPacketDbPtr& db,
                                UdbDispatcher::CommandCallbacksT<int>& callbacks);

  // Serves one query. Returns 0 when it was answered, -1 when serving threw a standard exception.
  int call(CAbstractPacketOptions* message) override;
  const char* desc() const override;
  UdbDispatcher::IUdbCallback* Clone() const override;

  // The steps of call(): decode, select, send. Failures to answer are XPacketDb; Serve sends -3 for
  // them and passes on those that are fatal. Other exceptions pass through without an answer.
  void Serve(CAbstractPacketOptions* message);
  void SelectRecords(Query& query, DbItemSelection& selection) const;
  void SendRows(CAbstractPacketOptions* message, const DbItemSelection& selection);

 private:
  PACKETDB_INTERNAL void DeclareColumns(CAbstractPacketOptions* message);
  PACKETDB_INTERNAL void SendRow(CAbstractPacketOptions* message, const CDrvErrorItemV4& item);
  PACKETDB_INTERNAL void AddColumnId(CAbstractPacketOptions* message, unsigned int id,
                                     unsigned int size);
  PACKETDB_INTERNAL void SetColumnValue(CAbstractPacketOptions* message, unsigned int column,
                                        const void* value);

  CPacketDbPtr m_db;
};

}  // namespace packetdb
