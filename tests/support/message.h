// A bus message that notes every call, with its arguments, in Calls(), keeps what is written into
// it, and answers what it was fed.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "platform/bus.h"

namespace packetdb::test {

// A record's values: their bytes under the identifier without bit 31.
using MessageRow = std::map<unsigned int, std::string>;

// The bytes of an integer in host byte order.
template <class T>
std::string BytesOf(T value) {
  return {reinterpret_cast<const char*>(&value), sizeof value};
}

class ScriptedMessage : public CAbstractPacketOptions {
 public:
  // What the getters find now, as in a received query.
  void Carry(unsigned int id, std::string bytes) { current_[id] = std::move(bytes); }
  void CarryInt(unsigned int id, std::int32_t value) { Carry(id, BytesOf(value)); }
  void CarryShort(unsigned int id, std::uint16_t value) { Carry(id, BytesOf(value)); }
  void CarryByte(unsigned int id, std::uint8_t value) { Carry(id, BytesOf(value)); }
  // The interface name as a client sends it: 32 bytes, NUL-padded.
  void CarryName(std::string_view name);
  void CarryRow(const MessageRow& row) { current_ = row; }

  // The rows of the answer that BeginRead starts to deliver; the marker comes after them.
  void FeedRows(std::vector<MessageRow> rows) { rows_to_read_ = std::move(rows); }

  // LastError() after an operation that was made to fail, sending the answer code included.
  void OnFailure(int last_error) { last_error_on_failure_ = last_error; }
  void SetLastError(int last_error) { m_LastError = last_error; }

  const std::vector<MessageRow>& WrittenRows() const { return written_rows_; }

  int SetKind(int kind) override;
  int AddColumn(unsigned int id, unsigned int size) override;
  int SetRecordCount(int count) override;
  int SetMarkerFlag(int flag) override;
  int WriteHeader() override;
  int SetValue(unsigned int id, const void* value) override;
  int WriteRecord() override;
  int WriteMarker() override;
  void BeginRead() override;
  int ReadHeader() override;
  int ReadRecord() override;
  const void* GetRaw(unsigned int id, unsigned int* size) const override;
  int GetInt(unsigned int id, unsigned int* size) const override;
  unsigned short GetShort(unsigned int id, unsigned int* size) const override;
  unsigned char GetByte(unsigned int id, unsigned int* size) const override;
  int IsMarker() const override;

 private:
  friend int ::udbSendCommandAnswer(CAbstractPacketOptions* message, int answer);

  int Finish(const std::string& operation);
  template <class T>
  T Get(const char* operation, unsigned int id, unsigned int* size) const;

  std::map<unsigned int, unsigned int> column_sizes_;
  MessageRow current_;
  std::vector<MessageRow> written_rows_;
  std::vector<MessageRow> rows_to_read_;
  std::size_t next_row_ = 0;
  bool at_marker_ = false;
  int last_error_on_failure_ = 0;
};

// How often the library asked for LastError(). Not part of Calls(): how often one report asks is
// open.
int& LastErrorCalls();

// "0a000001": bytes in the order in which they lie.
std::string Hex(std::string_view bytes);

}  // namespace packetdb::test
