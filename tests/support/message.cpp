#include "tests/support/message.h"

#include <algorithm>
#include <cstring>

#include "tests/support/allocation.h"
#include "tests/support/calls.h"

namespace packetdb::test {

namespace {

constexpr unsigned int kIntegerBit = 0x80000000;

std::string CallText(const std::string& operation, const std::string& arguments = {}) {
  return operation + "(" + arguments + ")";
}

std::string IdText(unsigned int id) {
  return (id & kIntegerBit) != 0 ? "int " + std::to_string(id & ~kIntegerBit) : std::to_string(id);
}

}  // namespace

std::string Hex(std::string_view bytes) {
  static const char* const digits = "0123456789abcdef";
  std::string text;
  for (const char byte : bytes) {
    const auto value = static_cast<unsigned char>(byte);
    text += {digits[value >> 4], digits[value & 15]};
  }
  return text;
}

int& LastErrorCalls() {
  static int calls = 0;
  return calls;
}

void ScriptedMessage::CarryName(std::string_view name) {
  std::string padded(name);
  padded.resize(32, '\0');
  Carry(30, padded);
}

int ScriptedMessage::Finish(const std::string& operation) {
  const int result = Calls().Planned(operation).value_or(0);
  if (result < 0) m_LastError = last_error_on_failure_;
  return result;
}

int ScriptedMessage::SetKind(int kind) {
  const HostMemory host;
  Calls().Note(CallText("SetKind", std::to_string(kind)));
  return Finish("SetKind");
}

// The declared identifier shows its bit 31: "AddColumn(int 2, 8)".
int ScriptedMessage::AddColumn(unsigned int id, unsigned int size) {
  const HostMemory host;
  Calls().Note(CallText("AddColumn", IdText(id) + ", " + std::to_string(size)));
  column_sizes_[id & ~kIntegerBit] = size;
  return Finish("AddColumn");
}

int ScriptedMessage::SetRecordCount(int count) {
  const HostMemory host;
  Calls().Note(CallText("SetRecordCount", std::to_string(count)));
  return Finish("SetRecordCount");
}

int ScriptedMessage::SetMarkerFlag(int flag) {
  const HostMemory host;
  Calls().Note(CallText("SetMarkerFlag", std::to_string(flag)));
  return Finish("SetMarkerFlag");
}

int ScriptedMessage::WriteHeader() {
  const HostMemory host;
  Calls().Note("WriteHeader()");
  return Finish("WriteHeader");
}

// Shows the bytes that a host would take: "SetValue(1, 64000000)".
int ScriptedMessage::SetValue(unsigned int id, const void* value) {
  const HostMemory host;
  const auto column = column_sizes_.find(id);
  if (column == column_sizes_.end()) {
    Calls().Note(CallText("SetValue", IdText(id) + ", undeclared"));
    return -1;
  }
  const std::string bytes(static_cast<const char*>(value), column->second);
  Calls().Note(CallText("SetValue", IdText(id) + ", " + Hex(bytes)));
  current_[id] = bytes;
  return Finish("SetValue");
}

int ScriptedMessage::WriteRecord() {
  const HostMemory host;
  Calls().Note("WriteRecord()");
  const int result = Finish("WriteRecord");
  if (result >= 0) written_rows_.push_back(current_);
  current_.clear();
  return result;
}

int ScriptedMessage::WriteMarker() {
  const HostMemory host;
  Calls().Note("WriteMarker()");
  return Finish("WriteMarker");
}

void ScriptedMessage::BeginRead() {
  const HostMemory host;
  Calls().Note("BeginRead()");
  current_.clear();
  next_row_ = 0;
  at_marker_ = false;
}

int ScriptedMessage::ReadHeader() {
  const HostMemory host;
  Calls().Note("ReadHeader()");
  return Finish("ReadHeader");
}

int ScriptedMessage::ReadRecord() {
  const HostMemory host;
  Calls().Note("ReadRecord()");
  const int result = Finish("ReadRecord");
  if (result < 0) return result;
  at_marker_ = next_row_ == rows_to_read_.size();
  current_ = at_marker_ ? MessageRow{} : rows_to_read_[next_row_++];
  return result;
}

// The getters show whether a place for the size was given: "GetRaw(30, size)", "GetInt(2)".
const void* ScriptedMessage::GetRaw(unsigned int id, unsigned int* size) const {
  const HostMemory host;
  Calls().Note(CallText("GetRaw", IdText(id) + (size != nullptr ? ", size" : "")));
  const auto found = current_.find(id);
  if (found == current_.end()) return nullptr;
  if (size != nullptr) *size = static_cast<unsigned int>(found->second.size());
  return found->second.data();
}

// The low bytes of the value; 0 for a column that is not there.
template <class T>
T ScriptedMessage::Get(const char* operation, unsigned int id, unsigned int* size) const {
  const HostMemory host;
  Calls().Note(CallText(operation, IdText(id) + (size != nullptr ? ", size" : "")));
  const auto found = current_.find(id);
  if (found == current_.end()) return 0;
  T value = 0;
  std::memcpy(&value, found->second.data(), std::min(sizeof value, found->second.size()));
  return value;
}

int ScriptedMessage::GetInt(unsigned int id, unsigned int* size) const {
  return Get<int>("GetInt", id, size);
}

unsigned short ScriptedMessage::GetShort(unsigned int id, unsigned int* size) const {
  return Get<unsigned short>("GetShort", id, size);
}

unsigned char ScriptedMessage::GetByte(unsigned int id, unsigned int* size) const {
  return Get<unsigned char>("GetByte", id, size);
}

int ScriptedMessage::IsMarker() const {
  const HostMemory host;
  Calls().Note("IsMarker()");
  return at_marker_ ? 1 : 0;
}

}  // namespace packetdb::test

using packetdb::test::Calls;
using packetdb::test::HostMemory;

int CAbstractPacketOptions::LastError() const {
  ++packetdb::test::LastErrorCalls();
  return m_LastError;
}

int udbGetCommandAnswer(CAbstractPacketOptions* /*message*/) {
  const HostMemory host;
  Calls().Note("udbGetCommandAnswer()");
  return Calls().Planned("udbGetCommandAnswer").value_or(0);
}

int udbSendCommandAnswer(CAbstractPacketOptions* message, int answer) {
  const HostMemory host;
  Calls().Note("udbSendCommandAnswer(" + std::to_string(answer) + ")");
  return static_cast<packetdb::test::ScriptedMessage*>(message)->Finish("udbSendCommandAnswer");
}
