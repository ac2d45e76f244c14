#include "packetdb/journal_server.h"

#include <boost/make_shared.hpp>
#include <cstdint>
#include <exception>
#include <sys/time.h>

#include "packetdb/storage_iter.h"
#include "src/clock_figures.h"
#include "src/log.h"
#include "src/query/wire.h"
#include "src/wrapping.h"

namespace packetdb {

namespace {

constexpr char kLogSource[] = "src/journal_server";

// A reading of the wall clock, in the 32 bits that the timing lines are computed in.
struct Moment {
  int seconds;  // within the minute
  int microseconds;
};

Moment LogMoment(const char* what) {
  timeval now{};
  gettimeofday(&now, nullptr);
  const ClockFigures clock = ToClockFigures(static_cast<int>(now.tv_sec));
  const int microseconds = static_cast<int>(now.tv_usec);
  PACKETDB_LOG(log::kQuery) << what << clock.hours << ":" << clock.minutes << ":" << clock.seconds
                            << "." << microseconds;
  return {clock.seconds, microseconds};
}

// Deliberately no elapsed time: seconds are taken within the minute, and a borrowed second
// multiplies where it should carry. The line's figures are part of the library's contract.
void LogElapsed(const Moment& start, const Moment& end) {
  int seconds = end.seconds - start.seconds;
  int microseconds = end.microseconds - start.microseconds;
  if (end.microseconds < start.microseconds) {
    seconds = end.seconds - 1 - start.seconds;
    microseconds =
        WrappingSubtract(WrappingMultiply(end.microseconds, 1000000), start.microseconds);
  }
  PACKETDB_LOG(log::kQuery) << "Select has performed in " << seconds << " sec " << microseconds;
}

}  // namespace

UdbJournalServer::UdbJournalServer(const CPacketDbPtr& db) : m_db(db) {}

UdbJournalServer::~UdbJournalServer() = default;

void UdbJournalServer::RegisterCallbacks(const CPacketDbPtr& db,
                                         UdbDispatcher::CommandCallbacksT<int>& callbacks) {
  if (!db) {
    PACKETDB_LOG(log::kNotice) << "IP packet database is disabled";
    return;
  }
  const auto server = boost::make_shared<UdbJournalServer>(db);
  const UdbDispatcher::CommandCallbackT<int> entry(server, UDB_GET_DBQUERY);
  callbacks.push_back(entry);  // copied on purpose: the table's entry owns a clone of the server
}

int UdbJournalServer::call(CAbstractPacketOptions* message) {
  try {
    Serve(message);
    return 0;
  } catch (const std::exception&) {
    return -1;
  }
}

const char* UdbJournalServer::desc() const { return "accessing packet database"; }

UdbDispatcher::IUdbCallback* UdbJournalServer::Clone() const { return new UdbJournalServer(m_db); }

void UdbJournalServer::Serve(CAbstractPacketOptions* message) {
  Query query;
  query.read(message);
  if (query.m_Version == 0) {
    udbSendCommandAnswer(message, kAnswerOldProtocol);
    PACKETDB_LOG(log::kFailure) << "client uses old protocol";
    throw XPacketDb("client uses old protocol", true);
  }
  PACKETDB_LOG(log::kTrace) << "Current protocol version is " << query.m_Version;
  DbItemSelection selection;
  try {
    SelectRecords(query, selection);
    SendRows(message, selection);
  } catch (const XPacketDb& failure) {
    udbSendCommandAnswer(message, kAnswerNothing);
    PACKETDB_LOG(log::kFailure) << "UDB error (" << message->LastError() << "):" << failure.what();
    if (failure.m_Fatal) {
      throw;
    }
  }
}

void UdbJournalServer::SelectRecords(Query& query, DbItemSelection& selection) const {
  const StorageIterPtr iter = CreateStorageIter(m_db, query);
  if (!iter) {
    return;
  }
  const Moment start = LogMoment("start: ");
  iter->SelectRecords(selection);
  LogElapsed(start, LogMoment("end: "));
}

}  // namespace packetdb
