// docs/bus_protocol.md says what the code does: its examples byte for byte, its tables code by
// code.
#include <algorithm>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>

#include "host/bus/answer_code.h"
#include "host/bus/columns.h"
#include "host/bus/socket_address.h"
#include "tests/host/bus/journal_like.h"

namespace packetdb::host {
namespace {

std::vector<std::string> DocumentLines() {
  std::ifstream file(PACKETDB_BUS_DOCUMENT);
  std::vector<std::string> lines;
  for (std::string line; std::getline(file, line);) lines.push_back(line);
  return lines;
}

// The bytes of the code block behind the heading; what stands behind a semicolon is a remark.
std::string ExampleBytes(const std::string& heading) {
  const std::vector<std::string> lines = DocumentLines();
  auto line = std::find(lines.begin(), lines.end(), heading);
  line = std::find(line, lines.end(), "```hex");
  std::string bytes;
  while (line != lines.end() && *++line != "```") {
    std::istringstream words(line->substr(0, line->find(';')));
    for (std::string word; words >> word;) {
      bytes += static_cast<char>(std::stoul(word, nullptr, 16));
    }
  }
  return bytes;
}

std::string Hex(const std::string& bytes) {
  static const char kDigits[] = "0123456789abcdef";
  std::string text;
  for (const char byte : bytes) {
    text += kDigits[static_cast<unsigned char>(byte) >> 4];
    text += kDigits[byte & 15];
    text += ' ';
  }
  return text;
}

JournalQuery ExampleQuery() {
  JournalQuery query;
  query.record_limit = 10;
  query.port = 53;
  query.protocols = {6, 17};
  query.codes = {5, -1};
  return query;
}

JournalRow ExampleRow() {
  return {.count = 3,
          .first_time = 0x57000000,
          .last_time = 0x5700003C,
          .source = 0xC0000201,
          .destination = 0xC0000202,
          .flags = 0x11,
          .code = 5,
          .source_id = 1,
          .destination_id = 2,
          .packet_size = 180,
          .word = 0,
          .source_port = 40000,
          .destination_port = 53,
          .byte = 0,
          .protocol = 17};
}

TEST(BusDocument, ShowsTheBytesOfARequest) {
  RawPeer peer;
  Message message(peer.connection);
  ASSERT_TRUE(WriteJournalQuery(message, ExampleQuery()));
  peer.connection.Flush();
  EXPECT_EQ(Hex(ExampleBytes("### A request")), Hex(peer.Receive()));
}

TEST(BusDocument, ShowsTheBytesOfAnAnswer) {
  RawPeer peer;
  peer.Send(RequestBytes());
  Message message(peer.connection);
  ReadRequest(message);
  SendJournalRows(message, {ExampleRow()});
  EXPECT_EQ(Hex(ExampleBytes("### An answer with one row")), Hex(peer.Receive()));
}

// Whether some line of the document is this row of a table.
::testing::AssertionResult HasRow(const std::string& row) {
  const std::vector<std::string> lines = DocumentLines();
  if (std::find(lines.begin(), lines.end(), row) != lines.end()) {
    return ::testing::AssertionSuccess();
  }
  return ::testing::AssertionFailure() << "no such row: " << row;
}

std::string Row(int code, std::string_view name, std::string_view text) {
  std::ostringstream row;
  row << "| " << code << " | `" << name << "` | " << text << " |";
  return row.str();
}

TEST(BusDocument, ListsEveryError) {
  for (const BusErrorRow& row : AllBusErrors()) {
    if (row.code == BusError::kNone) continue;
    EXPECT_TRUE(HasRow(Row(static_cast<int>(row.code), row.name, row.text)));
  }
}

TEST(BusDocument, ListsEveryAnswerCode) {
  const std::pair<int, std::string_view> codes[] = {
      {kAnswerOk, "kAnswerOk"},
      {kAnswerNothingOrFailed, "kAnswerNothingOrFailed"},
      {kAnswerUnknownCommand, "kAnswerUnknownCommand"},
      {kAnswerCommandDisabled, "kAnswerCommandDisabled"},
      {kAnswerNotAsked, "kAnswerNotAsked"},
      {kAnswerWriteFailed, "kAnswerWriteFailed"},
      {kAnswerTimedOut, "kAnswerTimedOut"},
      {kAnswerClosed, "kAnswerClosed"},
      {kAnswerMalformed, "kAnswerMalformed"},
      {kAnswerReadFailed, "kAnswerReadFailed"}};
  for (const auto& [code, name] : codes) EXPECT_TRUE(HasRow(Row(code, name, AnswerText(code))));
}

TEST(BusDocument, ListsEveryTypeOfFrame) {
  EXPECT_TRUE(HasRow("| " + std::to_string(static_cast<int>(FrameType::kHeader)) + " | header |"));
  EXPECT_TRUE(HasRow("| " + std::to_string(static_cast<int>(FrameType::kRecord)) + " | record |"));
  EXPECT_TRUE(HasRow("| " + std::to_string(static_cast<int>(FrameType::kMarker)) + " | marker |"));
  EXPECT_TRUE(HasRow("| " + std::to_string(static_cast<int>(FrameType::kAnswer)) + " | answer |"));
}

std::string Limit(const std::string& what, std::size_t value) {
  return "| " + what + " | " + std::to_string(value) + " |";
}

TEST(BusDocument, ListsEveryLimit) {
  EXPECT_TRUE(HasRow(Limit("least length of a frame", kMinFrameLength)));
  EXPECT_TRUE(HasRow(Limit("greatest length of a frame", kMaxFrameLength)));
  EXPECT_TRUE(HasRow(Limit("columns of a table", kMaxColumns)));
  EXPECT_TRUE(HasRow(Limit("bytes of a column", kMaxColumnSize)));
  EXPECT_TRUE(HasRow(Limit("bytes of a record", kMaxRowSize)));
  EXPECT_TRUE(HasRow(Limit("bytes of a socket's path", kMaxSocketPath)));
}

TEST(BusDocument, ListsEveryTimeLimit) {
  const Timeouts timeouts;
  const auto seconds = [](std::chrono::milliseconds time) {
    return static_cast<std::size_t>(time.count() / 1000);
  };
  EXPECT_TRUE(HasRow(Limit("`wait`", seconds(timeouts.wait))));
  EXPECT_TRUE(HasRow(Limit("`frame`", seconds(timeouts.frame))));
  EXPECT_TRUE(HasRow(Limit("`send`", seconds(timeouts.send))));
  EXPECT_TRUE(HasRow(Limit("`connect`", seconds(timeouts.connect))));
}

}  // namespace
}  // namespace packetdb::host
