#include "host/record_file/check_zeros.h"

#include <algorithm>
#include <cerrno>
#include <unistd.h>

#include "host/record_file/snapshot_read.h"

namespace packetdb::host {
namespace {

constexpr std::uint64_t kChunkBytes = 256U << 10U;

bool IsZero(char byte) { return byte == '\0'; }

}  // namespace

std::string LengthText(const ByteRange& range) {
  const std::uint64_t length = range.end - range.begin;
  return "(" + std::to_string(length) + (length == 1 ? " byte)" : " bytes)");
}

void Runs::Add(const ByteRange& wrong) {
  const bool is_near = run_.end != 0 && wrong.begin - run_.end < gap_;
  if (!is_near) {
    End();
    run_.begin = wrong.begin;
  }
  run_.end = wrong.end;
}

void Runs::End() {
  if (run_.end != 0) report_(run_);
  run_ = {};
}

void AddWrongBytes(const char* begin, const char* end, std::uint64_t position, Runs* runs) {
  const auto at = [&](const char* byte) {
    return position + static_cast<std::uint64_t>(byte - begin);
  };
  const char* wrong = std::find_if_not(begin, end, IsZero);
  while (wrong != end) {
    const char* const right = std::find_if(wrong, end, IsZero);
    runs->Add({at(wrong), at(right)});
    wrong = std::find_if_not(right, end, IsZero);
  }
}

Pieces::Pieces(const Descriptor& file, const ByteRange& range)
    : file_(file), begin_(range.begin), end_(std::max(range.begin, range.end)) {}

bool Pieces::Next() {
  begin_ += got_;
  SkipHole();
  bytes_.resize(std::min(kChunkBytes, end_ - begin_));
  result_ = ReadUpTo(file_, begin_, bytes_.data(), bytes_.size(), &got_);
  return result_ == kRecordFileOk && got_ != 0;
}

// Where the file system does not know holes, all is data.
void Pieces::SkipHole() {
  const off_t data = lseek(file_.get(), static_cast<off_t>(begin_), SEEK_DATA);
  if (data >= 0) {
    begin_ = std::clamp(static_cast<std::uint64_t>(data), begin_, end_);
  } else if (errno == ENXIO) {  // no data from here on
    begin_ = end_;
  }
}

bool Pieces::IsAllZeros() const {
  return std::all_of(bytes_.begin(), bytes_.begin() + static_cast<std::ptrdiff_t>(got_), IsZero);
}

void Pieces::AddWrongBytesOf(const ByteRange& range, Runs* runs) const {
  const std::uint64_t begin = std::max(range.begin, begin_);
  const std::uint64_t end = std::min(range.end, begin_ + got_);
  if (begin >= end) return;
  AddWrongBytes(bytes_.data() + (begin - begin_), bytes_.data() + (end - begin_), begin, runs);
}

}  // namespace packetdb::host
