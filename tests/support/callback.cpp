// The dispatcher's callback as any host has it; its life is noted in Calls().
#include "platform/bus.h"
#include "tests/support/calls.h"

namespace UdbDispatcher {

using packetdb::test::Calls;

IUdbCallback::IUdbCallback() : m_enabled(true) { Calls().Note("IUdbCallback()"); }
IUdbCallback::~IUdbCallback() { Calls().Note("~IUdbCallback()"); }
void* IUdbCallback::arg() const { return nullptr; }
void IUdbCallback::enable() { m_enabled = true; }
void IUdbCallback::disable() { m_enabled = false; }
bool IUdbCallback::enabled() const { return m_enabled; }

}  // namespace UdbDispatcher
