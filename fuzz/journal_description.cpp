#include "fuzz/journal_description.h"

#include <algorithm>
#include <cstring>

namespace packetdb::fuzz {
namespace {

// Zeros that a piece rather contains than ends at.
constexpr std::size_t kGap = 16;
constexpr std::size_t kMaxPiece = 0xFFFF;

// Takes bytes from the front, as many as there are.
class Source {
 public:
  Source(const std::uint8_t* data, std::size_t size) : data_(data), size_(size) {}

  bool IsEmpty() const { return size_ == 0; }

  template <class Number>
  Number Take() {
    Number number = 0;
    const std::size_t taken = std::min(sizeof number, size_);
    if (taken != 0) std::memcpy(&number, data_, taken);
    Advance(taken);
    return number;
  }

  Bytes TakeBytes(std::size_t count) {
    count = std::min(count, size_);
    Bytes bytes(data_, data_ + count);
    Advance(count);
    return bytes;
  }

 private:
  void Advance(std::size_t count) {
    data_ += count;
    size_ -= count;
  }

  const std::uint8_t* data_;
  std::size_t size_;
};

template <class Number>
void Put(Number number, Bytes* bytes) {
  const std::size_t size = bytes->size();
  bytes->resize(size + sizeof number);
  std::memcpy(bytes->data() + size, &number, sizeof number);
}

// The next byte that is not zero, from `begin` on.
std::size_t SkipZeros(const Bytes& file, std::size_t begin) {
  std::uint64_t word = 0;
  while (begin + sizeof word <= file.size()) {
    std::memcpy(&word, file.data() + begin, sizeof word);
    if (word != 0) break;
    begin += sizeof word;
  }
  while (begin < file.size() && file[begin] == 0) ++begin;
  return begin;
}

// Where the piece that begins at `begin` ends.
std::size_t EndOfPiece(const Bytes& file, std::size_t begin) {
  std::size_t end = begin + 1;
  for (std::size_t at = end; at < file.size() && at - end < kGap && at - begin < kMaxPiece; ++at) {
    if (file[at] != 0) end = at + 1;
  }
  return end;
}

}  // namespace

Description ParseDescription(const std::uint8_t* data, std::size_t size) {
  Source source(data, size);
  Description description;
  description.options = source.Take<std::uint8_t>();
  description.length = std::min<std::uint64_t>(source.Take<std::uint32_t>(), kMaxFileLength);
  while (!source.IsEmpty()) {
    Piece piece;
    piece.offset = source.Take<std::uint32_t>();
    piece.bytes = source.TakeBytes(source.Take<std::uint16_t>());
    if (piece.offset >= description.length) continue;
    const std::uint64_t room = description.length - piece.offset;
    if (piece.bytes.size() > room) piece.bytes.resize(room);
    description.pieces.push_back(std::move(piece));
  }
  return description;
}

Bytes Serialize(const Description& description) {
  Bytes data;
  Put(description.options, &data);
  Put(static_cast<std::uint32_t>(description.length), &data);
  for (const Piece& piece : description.pieces) {
    Put(static_cast<std::uint32_t>(piece.offset), &data);
    Put(static_cast<std::uint16_t>(piece.bytes.size()), &data);
    data.insert(data.end(), piece.bytes.begin(), piece.bytes.end());
  }
  return data;
}

Bytes Expand(const Description& description) {
  Bytes file(description.length);
  for (const Piece& piece : description.pieces) {
    std::copy(piece.bytes.begin(), piece.bytes.end(),
              file.begin() + static_cast<std::ptrdiff_t>(piece.offset));
  }
  return file;
}

Description Describe(const Bytes& file, std::uint8_t options) {
  Description description;
  description.options = options;
  description.length = std::min<std::uint64_t>(file.size(), kMaxFileLength);
  for (std::size_t begin = SkipZeros(file, 0); begin < file.size();) {
    const std::size_t end = EndOfPiece(file, begin);
    const auto first = file.begin() + static_cast<std::ptrdiff_t>(begin);
    description.pieces.push_back(
        {begin, Bytes(first, first + static_cast<std::ptrdiff_t>(end - begin))});
    begin = SkipZeros(file, end);
  }
  return description;
}

}  // namespace packetdb::fuzz
