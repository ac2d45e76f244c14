#include "host/bus/error.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <system_error>

namespace packetdb::host {
namespace {

constexpr std::array kRows = {
    BusErrorRow{BusError::kNone, "kNone", "no error"},
    BusErrorRow{BusError::kReadFailed, "kReadFailed", "reading from the connection failed"},
    BusErrorRow{BusError::kWriteFailed, "kWriteFailed", "writing to the connection failed"},
    BusErrorRow{BusError::kWrongOrder, "kWrongOrder",
                "the operation is not possible at this point"},
    BusErrorRow{BusError::kBadKind, "kBadKind", "the kind is neither 0 nor 1"},
    BusErrorRow{BusError::kBadColumnSize, "kBadColumnSize",
                "the size of a column is 0 or more than 65536"},
    BusErrorRow{BusError::kBadIntegerSize, "kBadIntegerSize",
                "the size of an integer column is not 1, 2, 4 or 8"},
    BusErrorRow{BusError::kDuplicateColumn, "kDuplicateColumn", "a column is declared twice"},
    BusErrorRow{BusError::kTooManyColumns, "kTooManyColumns", "there are more than 64 columns"},
    BusErrorRow{BusError::kRowTooLong, "kRowTooLong", "the columns together do not fit a frame"},
    BusErrorRow{BusError::kNoColumns, "kNoColumns", "the table has no columns"},
    BusErrorRow{BusError::kBadRecordCount, "kBadRecordCount", "the record count is below -1"},
    BusErrorRow{BusError::kBadMarkerFlag, "kBadMarkerFlag", "the marker flag is neither 0 nor 1"},
    BusErrorRow{BusError::kEndlessTable, "kEndlessTable",
                "neither a record count nor a marker tells where the table ends"},
    BusErrorRow{BusError::kUnknownColumn, "kUnknownColumn", "the column is not declared"},
    BusErrorRow{BusError::kNoValue, "kNoValue", "the value is a null pointer"},
    BusErrorRow{BusError::kMissingValue, "kMissingValue", "a column of the record has no value"},
    BusErrorRow{BusError::kTooManyRecords, "kTooManyRecords",
                "there are more records than announced"},
    BusErrorRow{BusError::kTooFewRecords, "kTooFewRecords",
                "there are fewer records than announced"},
    BusErrorRow{BusError::kReservedAnswer, "kReservedAnswer",
                "the answer code is reserved for the client's own use"},
    BusErrorRow{BusError::kEndOfTable, "kEndOfTable", "the table has been read to its end"},
    BusErrorRow{BusError::kTableAborted, "kTableAborted",
                "the server gave up in the middle of its answer"},
    BusErrorRow{BusError::kPeerClosed, "kPeerClosed", "the peer closed the connection"},
    BusErrorRow{BusError::kClosedMidway, "kClosedMidway",
                "the peer closed the connection in the middle of an exchange"},
    BusErrorRow{BusError::kTimedOut, "kTimedOut", "the peer took too long"},
    BusErrorRow{BusError::kDescriptorsSent, "kDescriptorsSent",
                "the peer sent file descriptors, which are not accepted"},
    BusErrorRow{BusError::kSystem, "kSystem", "a system call failed"},
    BusErrorRow{BusError::kBadFrameLength, "kBadFrameLength",
                "the length of a frame is out of bounds"},
    BusErrorRow{BusError::kBadVersion, "kBadVersion", "a frame has an unknown protocol version"},
    BusErrorRow{BusError::kBadFrameType, "kBadFrameType", "a frame has an unknown type"},
    BusErrorRow{BusError::kMalformedHeader, "kMalformedHeader", "a header is malformed"},
    BusErrorRow{BusError::kMalformedRecord, "kMalformedRecord",
                "a record does not have the length of its columns"},
    BusErrorRow{BusError::kMalformedMarker, "kMalformedMarker", "a marker is not empty"},
    BusErrorRow{BusError::kMalformedAnswer, "kMalformedAnswer", "an answer is malformed"},
    BusErrorRow{BusError::kUnexpectedFrame, "kUnexpectedFrame",
                "a frame came where another was due"},
    BusErrorRow{BusError::kNotARequest, "kNotARequest",
                "a request is not of kind 1 with exactly one record and no marker"},
    BusErrorRow{BusError::kNoCommand, "kNoCommand",
                "a request has no command in an integer column 0 of 4 bytes"},
    BusErrorRow{BusError::kRequestTooLarge, "kRequestTooLarge",
                "a request has more bytes or columns than the server takes"},
    BusErrorRow{BusError::kBadPath, "kBadPath", "a socket path is empty or contains a NUL"},
    BusErrorRow{BusError::kPathTooLong, "kPathTooLong", "a socket path is longer than 107 bytes"},
    BusErrorRow{BusError::kNoSuchSocket, "kNoSuchSocket", "the path does not exist"},
    BusErrorRow{BusError::kNotASocket, "kNotASocket", "the path is not a stream socket"},
    BusErrorRow{BusError::kRefused, "kRefused", "nobody listens on the socket"},
    BusErrorRow{BusError::kNotPermitted, "kNotPermitted", "permission was denied"},
    BusErrorRow{BusError::kAlreadyServed, "kAlreadyServed", "another process serves the socket"},
    BusErrorRow{BusError::kDirectoryBusy, "kDirectoryBusy",
                "another process holds the lock of the socket's directory"},
    BusErrorRow{BusError::kTooManyFiles, "kTooManyFiles", "too many files are open"},
    BusErrorRow{BusError::kNothingToAccept, "kNothingToAccept", "no connection is waiting"},
};

}  // namespace

std::span<const BusErrorRow> AllBusErrors() { return kRows; }

std::string_view ErrorText(BusError code) {
  const auto* row = std::find_if(kRows.begin(), kRows.end(),
                                 [code](const BusErrorRow& each) { return each.code == code; });
  return row == kRows.end() ? "unknown error" : row->text;
}

bool IsMalformed(BusError code) {
  return code >= BusError::kBadFrameLength && code <= BusError::kRequestTooLarge;
}

BusError FromErrno(int error) {
  switch (error) {
    case ENOENT:
    case ENOTDIR:
      return BusError::kNoSuchSocket;
    case EPROTOTYPE:
    case ENOTSOCK:
      return BusError::kNotASocket;
    case ECONNREFUSED:
      return BusError::kRefused;
    case EACCES:
    case EPERM:
    case EROFS:
      return BusError::kNotPermitted;
    case EAGAIN:
    case ETIMEDOUT:
      return BusError::kTimedOut;
    case EPIPE:
    case ECONNRESET:
      return BusError::kClosedMidway;
    case EMFILE:
    case ENFILE:
      return BusError::kTooManyFiles;
    case ENAMETOOLONG:
      return BusError::kPathTooLong;
    default:
      return BusError::kSystem;
  }
}

BusFailure MakeFailure(BusError code, std::string_view detail) {
  BusFailure failure{code, std::string(ErrorText(code))};
  if (!detail.empty()) failure.text.append(": ").append(detail);
  return failure;
}

BusFailure MakeSystemFailure(int error, std::string_view detail) {
  BusFailure failure = MakeFailure(FromErrno(error), detail);
  failure.text.append(" (").append(std::system_category().message(error)).append(")");
  return failure;
}

}  // namespace packetdb::host
