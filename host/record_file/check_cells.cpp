#include "host/record_file/check_cells.h"

#include <algorithm>
#include <cstddef>
#include <vector>

#include "host/record_file/check_slots.h"
#include "host/record_file/check_zeros.h"

namespace packetdb::host {
namespace {

// Zeros stand at the end of each cell, and where records are not a multiple of 8 bytes also in each
// frame: damage of many cells is told once.
constexpr std::uint64_t kCellsGap = 2 * kCellSize;

class CellsCheck {
 public:
  explicit CellsCheck(const CheckContext& context)
      : context_(context),
        geometry_(context.moment.geometry()),
        judge_(context),
        paddings_(kCellsGap, [this](const ByteRange& run) {
          context_.sink({run.begin, Severity::kDamage, kFindPadding,
                         "the bytes between records are not all zeros " + LengthText(run)});
        }) {}

  RecordFileResult Run() {
    const std::uint64_t end = EndOfCells();
    RecordFileResult result = kRecordFileOk;
    for (std::uint64_t begin = kCellsOffset; begin < end && result == kRecordFileOk;
         begin += kPieceBytes) {
      result = CheckPiece(begin, std::min(kPieceBytes, end - begin));
    }
    if (result == kRecordFileOk) result = CheckRest();
    if (result < 0) return result;
    paddings_.End();
    judge_.Finish();
    return result;
  }

 private:
  static constexpr std::uint64_t kPieceBytes = 1U << 18U;

  // Of those that the file has whole.
  std::uint64_t EndOfCells() const {
    return std::min(context_.moment.facts.length / kCellSize * kCellSize, FileLength(geometry_));
  }

  RecordFileResult CheckPiece(std::uint64_t begin, std::uint64_t size) {
    piece_.resize(size);
    RecordFileResult result = context_.medium.Read(begin, piece_.data(), size);
    Medium::Fence();
    // What a writer has not begun by now it had not begun when the piece was read.
    const std::uint64_t next = context_.stillness.Next();
    if (context_.medium.IsLost()) result = kFileLost;
    for (std::uint64_t at = 0; at < size && result == kRecordFileOk; at += kCellSize) {
      result = CheckCell(begin + at, piece_.data() + at, next);
    }
    return result;
  }

  RecordFileResult CheckCell(std::uint64_t offset, const std::byte* cell, std::uint64_t next) {
    const std::uint64_t index = (offset - kCellsOffset) / kCellSize;
    std::uint64_t slot = index * geometry_.frames_per_cell;
    std::uint64_t at = 0;
    for (std::uint32_t i = 0; i < geometry_.frames_per_cell; ++i) {
      const RecordFileResult result = judge_.Judge(slot++, cell + at, next);
      if (result < 0) return result;
      const std::uint64_t pad = at + geometry_.record_size;
      at += geometry_.frame_size;
      paddings_.AddWrongOf(cell + pad, cell + at - kFrameTailSize, offset + pad);
    }
    paddings_.AddWrongOf(cell + at, cell + kCellSize, offset + at);
    return kRecordFileOk;
  }

  // A file without a bound that was killed while it grew ends anywhere.
  RecordFileResult CheckRest() {
    const std::uint64_t begin = FileLength(geometry_);
    const std::uint64_t length = context_.moment.facts.length;
    if (geometry_.capacity != 0 || length <= begin) return kRecordFileOk;
    piece_.resize(std::min(length - begin, kCellSize));
    const RecordFileResult result = context_.medium.Read(begin, piece_.data(), piece_.size());
    if (result < 0) return result;
    paddings_.AddWrongOf(piece_.data(), piece_.data() + piece_.size(), begin);
    return result;
  }

  const CheckContext& context_;
  const Geometry& geometry_;
  SlotJudge judge_;
  Runs paddings_;
  std::vector<std::byte> piece_;
};

}  // namespace

RecordFileResult CheckCells(const CheckContext& context) { return CellsCheck(context).Run(); }

}  // namespace packetdb::host
