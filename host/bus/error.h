// Why an operation of the bus failed: every reason has a number, which is what
// CAbstractPacketOptions::LastError() answers, a name and a text. docs/bus_protocol.md lists them.
#pragma once

#include <span>
#include <string>
#include <string_view>

namespace packetdb::host {

enum class BusError : int {
  kNone = 0,

  // The connection under a message failed; the connection knows why.
  kReadFailed = 7,
  kWriteFailed = 8,

  // A message was used in a way that it cannot carry out. Nothing went out, the connection is
  // sound.
  kWrongOrder = 210,
  kBadKind = 211,
  kBadColumnSize = 212,
  kBadIntegerSize = 213,
  kDuplicateColumn = 214,
  kTooManyColumns = 215,
  kRowTooLong = 216,
  kNoColumns = 217,
  kBadRecordCount = 218,
  kBadMarkerFlag = 219,
  kEndlessTable = 220,
  kUnknownColumn = 221,
  kNoValue = 222,
  kMissingValue = 223,
  kTooManyRecords = 224,
  kTooFewRecords = 225,
  kReservedAnswer = 226,

  // What a reader of a table meets; the connection is sound.
  kEndOfTable = 230,
  kTableAborted = 231,

  // The connection came to its end.
  kPeerClosed = 240,
  kClosedMidway = 241,
  kTimedOut = 242,
  kDescriptorsSent = 243,
  kSystem = 244,

  // The peer does not speak this protocol; the connection is of no further use.
  kBadFrameLength = 250,
  kBadVersion = 251,
  kBadFrameType = 252,
  kMalformedHeader = 253,
  kMalformedRecord = 254,
  kMalformedMarker = 255,
  kMalformedAnswer = 256,
  kUnexpectedFrame = 257,
  kNotARequest = 258,
  kNoCommand = 259,
  kRequestTooLarge = 260,

  // Sockets and their paths.
  kBadPath = 270,
  kPathTooLong = 271,
  kNoSuchSocket = 272,
  kNotASocket = 273,
  kRefused = 274,
  kNotPermitted = 275,
  kAlreadyServed = 276,
  kDirectoryBusy = 277,
  kTooManyFiles = 278,
  kNothingToAccept = 279,
};

struct BusErrorRow {
  BusError code;
  std::string_view name;  // the enumerator
  std::string_view text;  // for people, without a full stop
};

// Every code once, in ascending order.
std::span<const BusErrorRow> AllBusErrors();

// The text of a code; "unknown error" for a number that is none.
std::string_view ErrorText(BusError code);

// Whether the peer broke the protocol, as opposed to a connection that merely ended.
bool IsMalformed(BusError code);

// The reason behind an errno of a socket call.
BusError FromErrno(int error);

// A reason together with what it happened to.
struct BusFailure {
  BusError code = BusError::kNone;
  std::string text;
};

// "<text of the code>: <detail>"; the text alone when there is no detail.
BusFailure MakeFailure(BusError code, std::string_view detail = {});

// The same from the errno of a failed call, with the system's own words at the end.
BusFailure MakeSystemFailure(int error, std::string_view detail);

}  // namespace packetdb::host
