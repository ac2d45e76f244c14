// The name of the journal that a query asks for.
#pragma once

#include <cstring>
#include <string>

#include "packetdb/query.h"

namespace packetdb {

// Up to the first NUL; all 32 bytes when there is none.
inline std::string InterfaceName(const Query& query) {
  return {query.m_Interface, strnlen(query.m_Interface, sizeof query.m_Interface)};
}

}  // namespace packetdb
