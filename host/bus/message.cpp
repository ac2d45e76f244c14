#include "host/bus/message.h"

namespace packetdb::host {

int Message::Refuse(BusError error) {
  m_LastError = static_cast<int>(error);
  return -1;
}

}  // namespace packetdb::host

int CAbstractPacketOptions::LastError() const { return m_LastError; }
