// The client's side: encoding a query, sending it, waiting for the status.
#include <sys/time.h>
#include <vector>

#include "packetdb/query.h"
#include "platform/bus.h"
#include "src/clock_figures.h"
#include "src/log.h"
#include "src/query/bus_failure.h"
#include "src/query/wire.h"

namespace packetdb {

namespace {

constexpr char kLogSource[] = "src/query";
constexpr int kQueryKind = 1;
constexpr int kQueryRecords = 1;

// A column of the message and where its value lies.
struct Field {
  unsigned int option;
  unsigned int declared;  // the option, marked when it is an integer
  unsigned int size;
  const void* value;
};

// The columns that a query needs, in the order in which they are declared and set. A criterion of
// value 0 is left out: the server reads what is absent as 0.
class Fields {
 public:
  template <class T>
  void Integer(Option option, const T& value) {
    m_List.push_back({option, kIntegerColumn | option, sizeof value, &value});
  }
  template <class T>
  void IntegerUnlessZero(Option option, const T& value) {
    if (value != 0) {
      Integer(option, value);
    }
  }
  void Bytes(Option option, const void* value, std::size_t size) {
    m_List.push_back({option, option, static_cast<unsigned int>(size), value});
  }
  template <class T>
  void ArrayUnlessEmpty(Option option, const std::vector<T>& values) {
    if (!values.empty()) {
      Bytes(option, values.data(), values.size() * sizeof(T));
    }
  }

  auto begin() const { return m_List.begin(); }
  auto end() const { return m_List.end(); }

 private:
  std::vector<Field> m_List;
};

Fields FieldsOf(const Query& query) {
  Fields fields;
  fields.Integer(kOptionCommand, UDB_GET_DBQUERY);
  fields.Bytes(kOptionInterface, query.m_Interface, sizeof query.m_Interface);
  fields.Bytes(kOptionVersion, &query.m_Version, sizeof query.m_Version);
  fields.IntegerUnlessZero(kOptionTimeStart, query.m_TimeStart);
  fields.IntegerUnlessZero(kOptionTimeEnd, query.m_TimeEnd);
  fields.IntegerUnlessZero(kOptionRecCount, query.m_RecCount);
  fields.IntegerUnlessZero(kOptionFlagsWanted, query.m_FlagsWanted);
  fields.IntegerUnlessZero(kOptionFlagsNotWanted, query.m_FlagsNotWanted);
  if (query.m_Direction != 0) {
    fields.Bytes(kOptionDirection, &query.m_Direction, sizeof query.m_Direction);
  }
  fields.IntegerUnlessZero(kOptionIdSrc, query.m_IdSrc);
  fields.IntegerUnlessZero(kOptionIdDst, query.m_IdDst);
  fields.IntegerUnlessZero(kOptionIpSrcFrom, query.m_IpSrcFrom);
  fields.IntegerUnlessZero(kOptionIpSrcTo, query.m_IpSrcTo);
  fields.IntegerUnlessZero(kOptionIpDstFrom, query.m_IpDstFrom);
  fields.IntegerUnlessZero(kOptionIpDstTo, query.m_IpDstTo);
  fields.IntegerUnlessZero(kOptionPortSrcFrom, query.m_PortSrcFrom);
  fields.IntegerUnlessZero(kOptionPortSrcTo, query.m_PortSrcTo);
  fields.IntegerUnlessZero(kOptionPortDstFrom, query.m_PortDstFrom);
  fields.IntegerUnlessZero(kOptionPortDstTo, query.m_PortDstTo);
  fields.ArrayUnlessEmpty(kOptionProtocols, query.m_Protocols);
  fields.ArrayUnlessEmpty(kOptionErrcodes, query.m_Errcodes);
  return fields;
}

int WriteHeader(CAbstractPacketOptions& message, const Fields& fields) {
  message.SetKind(kQueryKind);
  for (const Field& field : fields) {
    message.AddColumn(field.declared, field.size);
  }
  message.SetRecordCount(kQueryRecords);
  if (message.WriteHeader() >= 0) {
    return 0;
  }
  return BusFailure(message, kWriteError, "Udb-header write error.", "Udb WriteHeader() error ");
}

int WriteRecord(CAbstractPacketOptions& message, const Fields& fields) {
  for (const Field& field : fields) {
    message.SetValue(field.option, field.value);
  }
  if (message.WriteRecord() >= 0) {
    return 0;
  }
  return BusFailure(message, kWriteError, "Udb-record write error.", "Udb WriteRecord() error ");
}

timeval TimeOfDay() {
  timeval now{};
  gettimeofday(&now, nullptr);
  return now;
}

void LogTime(const char* what, const timeval& moment) {
  const ClockFigures clock = ToClockFigures(moment.tv_sec);
  PACKETDB_LOG(log::kQuery) << what << clock.hours << ":" << clock.minutes << ":" << clock.seconds
                            << "." << moment.tv_usec;
}

int AwaitStatus(CAbstractPacketOptions* message) {
  const timeval start = TimeOfDay();
  const int status = udbGetCommandAnswer(message);
  if (status == kAnswerNothing) {
    PACKETDB_LOG(log::kEmptyResult) << "UDB_GET_DBQUERY empty result";
  } else if (status != 0) {
    PACKETDB_LOG(log::kFailure) << "UDB_GET_DBQUERY query error " << status;
    return status;
  }
  LogTime("Select start: ", start);
  LogTime("Select end: ", TimeOfDay());
  return status;
}

}  // namespace

int Query::write(CAbstractPacketOptions* message) {
  const Fields fields = FieldsOf(*this);
  if (const int failed = WriteHeader(*message, fields); failed != 0) {
    return failed;
  }
  if (const int failed = WriteRecord(*message, fields); failed != 0) {
    return failed;
  }
  return AwaitStatus(message);
}

}  // namespace packetdb
