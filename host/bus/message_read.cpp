#include <string>

#include "host/bus/answer_code.h"
#include "host/bus/byte_order.h"
#include "host/bus/message.h"

namespace packetdb::host {

int Message::ReadFailed() {
  const BusError reason = connection_.failure().code;
  return Refuse(IsMalformed(reason) ? reason : BusError::kReadFailed);
}

int Message::Malformed(BusError error, std::string_view detail) {
  connection_.Fail(error, detail);
  return ReadFailed();
}

void Message::BeginRead() {
  if (read_state_ == ReadState::kNothing) read_state_ = ReadState::kHeader;
}

int Message::ReadHeader() {
  // No table follows a failure, and waiting for one would take until the time is over.
  const bool due =
      read_state_ == ReadState::kHeader && got_answer_.value_or(kAnswerOk) == kAnswerOk;
  if (!due) return Refuse(BusError::kWrongOrder);
  BusFrame frame;
  if (!connection_.ReadFrame(got_answer_ ? Wait::kForRest : Wait::kForPeer, &frame)) {
    return ReadFailed();
  }
  if (frame.type == FrameType::kHeader) return TakeHeader(frame);
  if (frame.type == FrameType::kAnswer && got_answer_) return TakeAbort(frame);
  return Malformed(BusError::kUnexpectedFrame, "a header was due");
}

int Message::TakeHeader(const BusFrame& frame) {
  const BusError error = DecodeHeader(frame.payload, &read_header_);
  if (error == BusError::kMalformedHeader) return Malformed(error, "its length is wrong");
  if (error != BusError::kNone) return Malformed(BusError::kMalformedHeader, ErrorText(error));
  if (got_answer_ && read_header_.kind != kKindAnswer) {
    return Malformed(BusError::kMalformedHeader, "a request instead of an answer");
  }
  read_state_ = AllRecordsRead() && !read_header_.marker ? ReadState::kFinished : ReadState::kRows;
  return 0;
}

int Message::ReadRecord() {
  has_row_ = false;
  if (read_state_ == ReadState::kMarker) read_state_ = ReadState::kFinished;
  if (read_state_ == ReadState::kFinished) {
    return Refuse(abort_code_ ? BusError::kTableAborted : BusError::kEndOfTable);
  }
  if (read_state_ != ReadState::kRows) return Refuse(BusError::kWrongOrder);
  BusFrame frame;
  if (!connection_.ReadFrame(Wait::kForRest, &frame)) return ReadFailed();
  if (frame.type == FrameType::kRecord) return TakeRecord(frame);
  if (frame.type == FrameType::kMarker) return TakeMarker(frame);
  if (frame.type == FrameType::kAnswer && got_answer_) return TakeAbort(frame);
  return Malformed(BusError::kUnexpectedFrame, "a record was due");
}

int Message::TakeRecord(const BusFrame& frame) {
  if (AllRecordsRead()) return Malformed(BusError::kUnexpectedFrame, "a marker was due");
  if (frame.payload.size() != read_header_.columns.RowSize()) {
    return Malformed(BusError::kMalformedRecord, std::to_string(frame.payload.size()));
  }
  read_row_.assign(frame.payload.begin(), frame.payload.end());
  for (const Column& column : read_header_.columns.All()) {
    if (!column.integer) continue;
    CopySwapped(&read_row_[column.offset], &frame.payload[column.offset], column.size);
  }
  has_row_ = true;
  ++rows_read_;
  if (AllRecordsRead() && !read_header_.marker) read_state_ = ReadState::kFinished;
  return 0;
}

int Message::TakeMarker(const BusFrame& frame) {
  const bool early = read_header_.record_count != kCountNotAnnounced && !AllRecordsRead();
  if (early || !read_header_.marker) {
    return Malformed(BusError::kUnexpectedFrame, "a record was due");
  }
  if (!frame.payload.empty()) return Malformed(BusError::kMalformedMarker);
  read_state_ = ReadState::kMarker;
  return 0;
}

// The server sends a second answer where a table could not be completed. Nothing follows it, so the
// connection serves the next exchange.
int Message::TakeAbort(const BusFrame& frame) {
  if (frame.payload.size() != kAnswerSize) return Malformed(BusError::kMalformedAnswer);
  const int code = static_cast<int>(LoadNetwork32(frame.payload.data()));
  if (code == 0) return Malformed(BusError::kUnexpectedFrame, "a second success");
  abort_code_ = code;
  read_state_ = ReadState::kFinished;
  return Refuse(BusError::kTableAborted);
}

bool Message::AllRecordsRead() const {
  return read_header_.record_count != kCountNotAnnounced &&
         rows_read_ >= static_cast<std::uint64_t>(read_header_.record_count);
}

int Message::IsMarker() const { return read_state_ == ReadState::kMarker ? 1 : 0; }

}  // namespace packetdb::host
