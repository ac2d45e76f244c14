#include "host/sources/link_layer.h"

#include <pcap/dlt.h>

#include "host/sources/cooked.h"
#include "host/sources/ethernet.h"
#include "host/sources/loopback.h"
#include "host/sources/nflog.h"
#include "host/sources/raw_ip.h"

namespace packetdb::host {

LinkParser FindLinkParser(int link_type) {
  switch (link_type) {
    case DLT_EN10MB:
      return ParseEthernet;
    case DLT_LINUX_SLL:
      return ParseCooked;
    case DLT_LINUX_SLL2:
      return ParseCooked2;
    case DLT_RAW:
      return ParseRawIp;
    case DLT_IPV4:
      return ParseRawIpv4;
    case DLT_NULL:
      return ParseNullLoopback;
    case DLT_LOOP:
      return ParseLoopback;
    case DLT_NFLOG:
      return ParseNflog;
    default:
      return nullptr;
  }
}

}  // namespace packetdb::host
