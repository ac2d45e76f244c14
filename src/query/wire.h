// The numbers of the journal command: options of the query, answers, errors of the bus.
#pragma once

namespace packetdb {

enum Option : unsigned int {
  kOptionCommand = 0,
  kOptionTimeStart = 2,
  kOptionTimeEnd = 3,
  kOptionRecCount = 8,
  kOptionErrcodes = 15,
  kOptionIpSrcFrom = 16,
  kOptionIpSrcTo = 17,
  kOptionIpDstFrom = 18,
  kOptionIpDstTo = 19,
  kOptionIdSrc = 20,
  kOptionIdDst = 21,
  kOptionPortSrcFrom = 22,
  kOptionPortSrcTo = 23,
  kOptionPortDstFrom = 24,
  kOptionPortDstTo = 25,
  kOptionFlagsWanted = 26,
  kOptionFlagsNotWanted = 27,
  kOptionProtocols = 28,
  kOptionInterface = 30,
  kOptionVersion = 31,
  kOptionDirection = 32,
};

// Set in a declared identifier, it marks an integer, which the bus carries in network byte order.
inline constexpr unsigned int kIntegerColumn = 0x80000000;

// The answer to a query: 0 with a table behind it, or one of these.
inline constexpr int kAnswerNothing = -3;  // nothing selected, or the query failed
inline constexpr int kAnswerOldProtocol = -100;

// What CAbstractPacketOptions::LastError says after a failed write or read; these two get the short
// messages.
inline constexpr int kWriteError = 8;
inline constexpr int kReadError = 7;

}  // namespace packetdb
