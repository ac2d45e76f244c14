// A message on a connection: a request with its answer, seen from either end.
//
// The client's end writes a table of kind 1, asks for the answer code with udbGetCommandAnswer, and
// reads the table that a code 0 may bring. The server's end reads the request, answers with
// udbSendCommandAnswer, and may write a table of kind 0 behind a code 0. A message serves one
// exchange; the next one on the same connection takes a new message.
//
// The order of calls is held: what does not fit fails with kWrongOrder and sends nothing. A failed
// AddColumn makes WriteHeader fail with the same reason, a failed SetValue the next WriteRecord, so
// that a caller who looks at those two alone sends everything that it meant to, or nothing.
//
// Operations return 0 on success and -1 on failure. LastError() is 7 or 8 when the connection
// failed, else a BusError; it stays until the next failure.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "host/bus/connection.h"
#include "host/bus/table_header.h"
#include "platform/bus.h"

namespace packetdb::host {

class Message final : public CAbstractPacketOptions {
 public:
  // Refers to the connection, which outlives the message.
  explicit Message(Connection& connection) : connection_(connection) {}
  Message(const Message&) = delete;
  Message& operator=(const Message&) = delete;
  ~Message() = default;

  // Starts the table. Before the header only: a table that has begun cannot be started over.
  int SetKind(int kind) override;
  int AddColumn(unsigned int id, unsigned int size) override;
  int SetRecordCount(int count) override;
  int SetMarkerFlag(int flag) override;
  int WriteHeader() override;
  // `id` without bit 31. A second value of the same column replaces the first.
  int SetValue(unsigned int id, const void* value) override;
  // Every column needs a value. The row is empty again afterwards, also after a failure.
  int WriteRecord() override;
  // Sends everything that was written.
  int WriteMarker() override;

  // Once; reading again from the start is not possible.
  void BeginRead() override;
  int ReadHeader() override;
  // After the marker, or the last announced record, fails with kEndOfTable. A server that gave up
  // gives kTableAborted; a table that breaks the protocol makes the connection fail.
  int ReadRecord() override;

  // Of the record read last; 0 or null when there is none, as after a marker or a failure.
  //
  // GetRaw gives an integer in host byte order. The numeric getters take integer columns of any
  // size and byte columns of 1, 2 or 4 bytes (in host byte order): a narrower value is extended
  // with zeros, of a wider one they give the low bits.
  const void* GetRaw(unsigned int id, unsigned int* size) const override;
  int GetInt(unsigned int id, unsigned int* size) const override;
  unsigned short GetShort(unsigned int id, unsigned int* size) const override;
  unsigned char GetByte(unsigned int id, unsigned int* size) const override;
  int IsMarker() const override;

  // What udbGetCommandAnswer and udbSendCommandAnswer do.
  int GetCommandAnswer();
  int SendCommandAnswer(int answer);

  // From now on an answer of failure is kept instead of sent, so that whoever handles the request
  // may be asked again. The server's end only.
  void HoldFailure() { holds_failure_ = true; }
  // Ends that. Gives the answer that was kept, which the caller then sends or not.
  std::optional<int> ReleaseFailure();

  // Of the table that ReadHeader read.
  const TableHeader& received() const { return read_header_; }
  // The answer code sent last; nothing before the first.
  std::optional<int> sent_answer() const { return sent_answer_; }
  // The code with which the server gave up its answer, after kTableAborted.
  std::optional<int> abort_code() const { return abort_code_; }
  // A table was begun and is not complete.
  bool IsTableOpen() const { return write_state_ == WriteState::kRows; }

 private:
  enum class WriteState { kNothing, kDeclaring, kRows, kFinished };
  enum class ReadState { kNothing, kHeader, kRows, kMarker, kFinished };

  int Refuse(BusError error);
  int RefuseDeclaration(BusError error);
  int RefuseRow(BusError error);
  int WriteFailed() { return Refuse(BusError::kWriteFailed); }

  BusError CheckHeader() const;
  BusError CheckRow() const;
  bool AllRecordsWritten() const;
  bool HasRequest() const { return rows_read_ > 0 && read_header_.kind == kKindRequest; }
  bool MayAnswer(int answer) const;
  void StartRow();
  int Finish();

  int ReadFailed();
  int Malformed(BusError error, std::string_view detail = {});
  int TakeAbort(const BusFrame& frame);
  int TakeHeader(const BusFrame& frame);
  int TakeRecord(const BusFrame& frame);
  int TakeMarker(const BusFrame& frame);
  bool AllRecordsRead() const;
  int AwaitAnswer();

  const Column* FindReceived(unsigned int id, unsigned int* size) const;
  std::uint64_t GetNumber(unsigned int id, unsigned int* size) const;

  Connection& connection_;

  WriteState write_state_ = WriteState::kNothing;
  TableHeader write_header_;
  BusError declaration_error_ = BusError::kNone;
  BusError row_error_ = BusError::kNone;
  std::vector<unsigned char> write_row_;
  std::uint64_t values_set_ = 0;  // one bit per column
  std::uint64_t rows_written_ = 0;
  std::optional<int> sent_answer_;
  bool holds_failure_ = false;
  std::optional<int> held_failure_;

  ReadState read_state_ = ReadState::kNothing;
  TableHeader read_header_;
  std::vector<unsigned char> read_row_;  // integers in host byte order
  bool has_row_ = false;
  std::uint64_t rows_read_ = 0;
  std::optional<int> got_answer_;  // this is the client's end
  std::optional<int> abort_code_;
};

}  // namespace packetdb::host
