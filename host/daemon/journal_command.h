// The journal query as packetdbd serves it.
#pragma once

#include <boost/shared_ptr.hpp>
#include <string>

#include "host/bus/commands.h"
#include "host/journals/open_journals.h"
#include "platform/bus.h"

namespace packetdb::host {

// What the commands of one connection know of one another.
struct ConnectionState {
  std::string failure;                          // why the last query failed; empty when it did not
  QueryRefusal refusal = QueryRefusal::kOther;  // the same for programs; nothing without `failure`
  unsigned int row_limit = 0;                   // of an answer; 0: none
};

// Opens the journals, lets the library answer, and closes them again: a journal that appeared since
// the last query is served, and a client that is merely connected keeps no writer out.
//
// The library answers "nothing" and "failed" with one code, so the reason of a failure is noted for
// the command that explains it.
class JournalCommand : public UdbDispatcher::IUdbCallback {
 public:
  JournalCommand(std::string directory, const boost::shared_ptr<ConnectionState>& state);

  int call(CAbstractPacketOptions* message) override;
  const char* desc() const override;
  UdbDispatcher::IUdbCallback* Clone() const override;

 private:
  int Serve(CAbstractPacketOptions* request);
  int ServeOnce(CAbstractPacketOptions& message);
  int Answer(const OpenJournals& journals, CAbstractPacketOptions& message);
  void Refuse(QueryRefusal refusal, const std::string& reason);

  std::string directory_;
  boost::shared_ptr<ConnectionState> state_;
};

// Answers kCommandExplain.
class ExplainCommand : public UdbDispatcher::IUdbCallback {
 public:
  explicit ExplainCommand(const boost::shared_ptr<ConnectionState>& state) : state_(state) {}

  int call(CAbstractPacketOptions* message) override;
  const char* desc() const override;
  UdbDispatcher::IUdbCallback* Clone() const override;

 private:
  boost::shared_ptr<ConnectionState> state_;
};

}  // namespace packetdb::host
