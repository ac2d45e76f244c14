// The dispatcher's callback as any host has it; its life is noted in Calls().
#include "platform/bus.h"
#include "tests/support/allocation.h"
#include "tests/support/calls.h"

namespace UdbDispatcher {

using packetdb::test::Calls;
using packetdb::test::HostMemory;

IUdbCallback::IUdbCallback() : m_enabled(true) {
  const HostMemory host;
  Calls().Note("IUdbCallback()");
}
IUdbCallback::~IUdbCallback() {
  const HostMemory host;
  Calls().Note("~IUdbCallback()");
}
void* IUdbCallback::arg() const { return nullptr; }
void IUdbCallback::enable() { m_enabled = true; }
void IUdbCallback::disable() { m_enabled = false; }
bool IUdbCallback::enabled() const { return m_enabled; }

}  // namespace UdbDispatcher
