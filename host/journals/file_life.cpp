#include "host/journals/file_life.h"

#include "host/record_file/state.h"

namespace packetdb::host {

FileLife LifeOf(const StatePage& state, bool has_writer) {
  switch (state.state) {
    case kOpen:
      return has_writer ? FileLife::kOpen : FileLife::kNotClosed;
    case kFailed:
      return FileLife::kFlushFailed;
    case kClosed:
      // What a writer is changing at this moment may be read half.
      return has_writer || IsSoundlyClosed(state) ? FileLife::kClosed : FileLife::kDamaged;
    default:
      return FileLife::kDamaged;
  }
}

std::string_view LifeWord(FileLife life) {
  switch (life) {
    case FileLife::kClosed:
      return "closed";
    case FileLife::kOpen:
      return "open";
    case FileLife::kNotClosed:
      return "not_closed";
    case FileLife::kFlushFailed:
      return "flush_failed";
    default:
      return "damaged";
  }
}

std::string_view LifeText(FileLife life) {
  switch (life) {
    case FileLife::kClosed:
      return "closed";
    case FileLife::kOpen:
      return "open: its writer has changed it";
    case FileLife::kNotClosed:
      return "not closed: its writer died, or the machine stopped; the next writer sees to that";
    case FileLife::kFlushFailed:
      return "a flush to the disk failed: what is not flushed is lost when the machine stops";
    default:
      return "damaged; packetdb check tells more";
  }
}

std::uint64_t Overwritten(const FileFacts& facts, std::uint64_t end, std::uint64_t live) {
  return facts.state.overwritten_before + end - facts.geometry.first_sequence - live;
}

}  // namespace packetdb::host
