// The dispatcher's callback as any host has it.
#include "platform/bus.h"

namespace UdbDispatcher {

IUdbCallback::IUdbCallback() : m_enabled(true) {}
IUdbCallback::~IUdbCallback() = default;
void* IUdbCallback::arg() const { return nullptr; }
void IUdbCallback::enable() { m_enabled = true; }
void IUdbCallback::disable() { m_enabled = false; }
bool IUdbCallback::enabled() const { return m_enabled; }

}  // namespace UdbDispatcher
