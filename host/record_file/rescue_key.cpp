#include "host/record_file/rescue_key.h"

#include <algorithm>
#include <cstring>
#include <utility>
#include <vector>

#include "host/record_file/frame.h"

namespace packetdb::host {
namespace {

// Every low half is nearest to this with a high half of 0.
constexpr std::uint64_t kNoHighHalf = std::uint64_t{1} << 31U;

template <class T>
void AddNew(std::vector<T>* list, const T& value) {
  if (std::find(list->begin(), list->end(), value) == list->end()) list->push_back(value);
}

std::uint32_t SeedIn(const Superblock& block) {
  std::uint32_t seed = 0;
  std::memcpy(&seed, block.file_id.data(), sizeof seed);
  return seed;
}

std::vector<std::uint32_t> SizesToTry(const FrontPages& front, const RescueRequest& request) {
  if (request.record_size) return {*request.record_size};
  std::vector<std::uint32_t> sizes;
  for (const std::uint32_t size : {front.a.record_size, front.b.record_size}) {
    if (size >= 1 && size <= kMaxRecordSize) AddNew(&sizes, size);
  }
  for (const RecordFormat& format : request.known) {
    AddNew(&sizes, static_cast<std::uint32_t>(format.record_size));
  }
  return sizes;
}

std::vector<std::uint32_t> SeedsToTry(const FrontPages& front, const RescueRequest& request) {
  if (request.seed) return {*request.seed};
  std::vector<std::uint32_t> seeds = {SeedIn(front.a)};
  AddNew(&seeds, SeedIn(front.b));
  return seeds;
}

bool IsPlausible(const StatePage& state) {
  const bool has_state = state.state == kClosed || state.state == kOpen || state.state == kFailed;
  return has_state && state.synced <= state.next && state.next < kMaxSequence;
}

// The likeliest first.
std::vector<std::uint64_t> NumbersToTry(const FrontPages& front, const RescueRequest& request) {
  if (request.near) return {*request.near};
  std::vector<std::uint64_t> numbers;
  // Near 0 there would be numbers below it.
  if (IsPlausible(front.state)) numbers.push_back(std::max(front.state.next, kNoHighHalf));
  AddNew(&numbers, kNoHighHalf);
  for (const Superblock* block : {&front.a, &front.b}) {
    if (block->first_sequence < kMaxSequence) {
      AddNew(&numbers, std::max(block->first_sequence, kNoHighHalf));
    }
  }
  return numbers;
}

class KeySearch {
 public:
  KeySearch(const RescueSource& source, const FrontPages& front, const RescueRequest& request)
      : source_(source),
        request_(request),
        sizes_(SizesToTry(front, request)),
        seeds_(SeedsToTry(front, request)),
        numbers_(NumbersToTry(front, request)) {}

  std::optional<FoundKey> Run() {
    if (!TryWhatIsThere() && !request_.seed) TryComputed();
    return best_count_ == 0 ? std::nullopt : std::optional(best_);
  }

 private:
  // True when that explains the file.
  bool TryWhatIsThere() {
    for (const std::uint32_t size : sizes_) {
      for (const std::uint32_t seed : seeds_) {
        for (const std::uint64_t number : numbers_) {
          if (Try({MakeKey(size, seed, number), false})) return true;
        }
      }
    }
    return false;
  }

  void TryComputed() {
    for (const std::uint32_t size : sizes_) {
      FrameKey key = MakeKey(size, 0, numbers_.front());
      const auto seed = CommonSeed(key);
      if (!seed) continue;
      key.geometry.seed = *seed;
      if (Try({key, true})) return;
    }
  }

  // True when half of the frames, at least, are whole with this key.
  bool Try(const FoundKey& found) {
    std::uint64_t used = 0;
    std::uint64_t whole = 0;
    source_.ForEachFrame(found.key.geometry, [&](std::uint64_t, const std::byte* frame) {
      if (IsNeverWritten(found.key.geometry, frame)) return true;
      ++used;
      whole += NumberOf(found.key, frame) ? 1 : 0;
      return true;
    });
    if (whole > best_count_) {
      best_count_ = whole;
      best_ = found;
    }
    return whole != 0 && 2 * whole >= used;
  }

  // The one that most of the first frames have, at least two of different numbers: the same bytes
  // again and again agree on one as well.
  std::optional<std::uint32_t> CommonSeed(const FrameKey& key) const {
    constexpr std::size_t kEnough = 1U << 16U;
    using Vote = std::pair<std::uint32_t, std::uint32_t>;  // seed and number
    std::vector<Vote> votes;
    source_.ForEachFrame(key.geometry, [&](std::uint64_t, const std::byte* frame) {
      const auto seed = SeedOf(key, frame);
      if (seed) votes.emplace_back(*seed, LowSequenceOf(key.geometry, frame));
      return votes.size() < kEnough;
    });
    std::sort(votes.begin(), votes.end());
    votes.erase(std::unique(votes.begin(), votes.end()), votes.end());
    std::optional<std::uint32_t> common;
    std::ptrdiff_t most = 1;
    for (auto begin = votes.begin(); begin != votes.end();) {
      const auto end = std::find_if(begin, votes.end(),
                                    [&](const Vote& vote) { return vote.first != begin->first; });
      if (end - begin > most) {
        most = end - begin;
        common = begin->first;
      }
      begin = end;
    }
    return common;
  }

  const RescueSource& source_;
  const RescueRequest& request_;
  const std::vector<std::uint32_t> sizes_;
  const std::vector<std::uint32_t> seeds_;
  const std::vector<std::uint64_t> numbers_;
  FoundKey best_;
  std::uint64_t best_count_ = 0;
};

}  // namespace

std::optional<FoundKey> FindKey(const RescueSource& source, const FrontPages& front,
                                const RescueRequest& request) {
  return KeySearch(source, front, request).Run();
}

}  // namespace packetdb::host
