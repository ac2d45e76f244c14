#include <cstring>

#include "host/bus/answer_code.h"
#include "host/bus/byte_order.h"
#include "host/bus/message.h"

namespace packetdb::host {
namespace {

std::uint64_t AllOf(std::size_t columns) {
  return columns == kMaxColumns ? ~std::uint64_t{0} : (std::uint64_t{1} << columns) - 1;
}

}  // namespace

int Message::RefuseDeclaration(BusError error) {
  if (declaration_error_ == BusError::kNone) declaration_error_ = error;
  return Refuse(error);
}

int Message::RefuseRow(BusError error) {
  if (row_error_ == BusError::kNone) row_error_ = error;
  return Refuse(error);
}

int Message::SetKind(int kind) {
  if (write_state_ == WriteState::kRows || write_state_ == WriteState::kFinished) {
    return Refuse(BusError::kWrongOrder);
  }
  write_state_ = WriteState::kDeclaring;
  write_header_ = TableHeader{};
  write_header_.kind = kind;
  declaration_error_ = BusError::kNone;
  if (kind == kKindAnswer || kind == kKindRequest) return 0;
  return RefuseDeclaration(BusError::kBadKind);
}

int Message::AddColumn(unsigned int id, unsigned int size) {
  if (write_state_ != WriteState::kDeclaring) return Refuse(BusError::kWrongOrder);
  const BusError error = write_header_.columns.Add(id, size);
  return error == BusError::kNone ? 0 : RefuseDeclaration(error);
}

int Message::SetRecordCount(int count) {
  if (write_state_ != WriteState::kDeclaring) return Refuse(BusError::kWrongOrder);
  if (count < kCountNotAnnounced) return RefuseDeclaration(BusError::kBadRecordCount);
  write_header_.record_count = count;
  return 0;
}

int Message::SetMarkerFlag(int flag) {
  if (write_state_ != WriteState::kDeclaring) return Refuse(BusError::kWrongOrder);
  if (flag != 0 && flag != 1) return RefuseDeclaration(BusError::kBadMarkerFlag);
  write_header_.marker = flag == 1;
  return 0;
}

BusError Message::CheckHeader() const {
  if (write_state_ != WriteState::kDeclaring) return BusError::kWrongOrder;
  if (declaration_error_ != BusError::kNone) return declaration_error_;
  // A request comes before anything was read; a client reads a table behind a success only.
  const bool due = write_header_.kind == kKindRequest ? read_state_ == ReadState::kNothing
                                                      : sent_answer_ == kAnswerOk;
  return due ? CheckTable(write_header_) : BusError::kWrongOrder;
}

int Message::WriteHeader() {
  const BusError error = CheckHeader();
  if (error != BusError::kNone) return Refuse(error);
  if (!connection_.WriteFrame(FrameType::kHeader, EncodeHeader(write_header_))) {
    return WriteFailed();
  }
  write_state_ = WriteState::kRows;
  StartRow();
  return AllRecordsWritten() && !write_header_.marker ? Finish() : 0;
}

void Message::StartRow() {
  write_row_.resize(write_header_.columns.RowSize());
  values_set_ = 0;
  row_error_ = BusError::kNone;
}

int Message::SetValue(unsigned int id, const void* value) {
  if (write_state_ != WriteState::kRows) return Refuse(BusError::kWrongOrder);
  const Column* column = write_header_.columns.Find(id);
  if (column == nullptr) return RefuseRow(BusError::kUnknownColumn);
  if (value == nullptr) return RefuseRow(BusError::kNoValue);
  unsigned char* place = write_row_.data() + column->offset;
  if (column->integer) {
    CopySwapped(place, value, column->size);
  } else {
    std::memcpy(place, value, column->size);
  }
  values_set_ |= std::uint64_t{1} << write_header_.columns.IndexOf(column);
  return 0;
}

BusError Message::CheckRow() const {
  if (row_error_ != BusError::kNone) return row_error_;
  if (AllRecordsWritten()) return BusError::kTooManyRecords;
  if (values_set_ != AllOf(write_header_.columns.All().size())) return BusError::kMissingValue;
  return BusError::kNone;
}

int Message::WriteRecord() {
  if (write_state_ != WriteState::kRows) return Refuse(BusError::kWrongOrder);
  const BusError error = CheckRow();
  StartRow();
  if (error != BusError::kNone) return Refuse(error);
  if (!connection_.WriteFrame(FrameType::kRecord, write_row_)) return WriteFailed();
  ++rows_written_;
  return AllRecordsWritten() && !write_header_.marker ? Finish() : 0;
}

int Message::WriteMarker() {
  if (write_state_ != WriteState::kRows || !write_header_.marker) {
    return Refuse(BusError::kWrongOrder);
  }
  if (write_header_.record_count != kCountNotAnnounced && !AllRecordsWritten()) {
    return Refuse(BusError::kTooFewRecords);
  }
  if (!connection_.WriteFrame(FrameType::kMarker, {})) return WriteFailed();
  return Finish();
}

bool Message::AllRecordsWritten() const {
  return write_header_.record_count != kCountNotAnnounced &&
         rows_written_ >= static_cast<std::uint64_t>(write_header_.record_count);
}

int Message::Finish() {
  write_state_ = WriteState::kFinished;
  // A request waits for the question for its answer, so that the two cost one system call.
  if (write_header_.kind == kKindRequest) return 0;
  return connection_.Flush() ? 0 : WriteFailed();
}

}  // namespace packetdb::host
