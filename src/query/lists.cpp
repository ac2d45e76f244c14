// The two lists of a query: IP protocols and event codes.
#include "packetdb/query.h"
#include "src/log.h"
#include "src/query/errcode_groups.h"

namespace packetdb {

namespace {

constexpr char kLogSource[] = "src/query";

constexpr unsigned char kAnyProtocol = 0;
constexpr unsigned char kOtherProtocols = 255;  // all but ICMP, TCP and UDP
constexpr int kAnyErrcode = -1;

bool IsIcmpTcpOrUdp(unsigned char protocol) {
  return (protocol & 0xEF) == 1 || protocol == 6;  // 1 and 17 differ in one bit
}

bool in_errcode_list(const int* list, unsigned int code);

// The codes of a group; those of the table's empty last row for a group that does not exist.
const int* GroupCodes(int key) {
  const ErrcodeGroup* row = errcode_groups;
  while (row->key != 0 && row->key != key) {
    ++row;
  }
  return row->codes;
}

bool MatchErrcode(int entry, unsigned int code) {
  return entry > 0 ? static_cast<unsigned int>(entry) == code
                   : in_errcode_list(GroupCodes(entry), code);
}

// Recurses as deep as groups name groups, which is four.
bool in_errcode_list(const int* list, unsigned int code) {
  for (; *list != 0; ++list) {
    if (MatchErrcode(*list, code)) {
      return true;
    }
  }
  return false;
}

}  // namespace

bool Protocols::match(unsigned char protocol) const {
  if (empty()) {
    // Deliberately left to the facility to refuse, on every call.
    PACKETDB_LOG_UNASKED(log::kTrace) << "protocols list empty";
    return true;
  }
  const bool other = !IsIcmpTcpOrUdp(protocol);
  for (const unsigned char entry : *this) {
    if (entry == kAnyProtocol || entry == protocol || (other && entry == kOtherProtocols)) {
      return true;
    }
  }
  PACKETDB_LOG(log::kTrace) << "protocol " << protocol << " not in the list";
  return false;
}

bool Errcodes::match(unsigned int code) const {
  if (empty() || front() == kAnyErrcode) {
    return true;
  }
  for (const int entry : *this) {
    if (entry == 0) {
      break;
    }
    if (MatchErrcode(entry, code)) {
      return true;
    }
  }
  return false;
}

}  // namespace packetdb
