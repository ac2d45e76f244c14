// Whether this build runs under AddressSanitizer, as either compiler tells.
#pragma once

#if defined(__SANITIZE_ADDRESS__)
#define PACKETDB_ADDRESS_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define PACKETDB_ADDRESS_SANITIZER 1
#endif
#endif
#ifndef PACKETDB_ADDRESS_SANITIZER
#define PACKETDB_ADDRESS_SANITIZER 0
#endif
