// Finding out what proves the frames of a file whose superblocks are damaged.
#pragma once

#include <optional>

#include "host/record_file/rescue.h"
#include "host/record_file/rescue_frames.h"

namespace packetdb::host {

struct FoundKey {
  FrameKey key;
  bool is_seed_computed = false;
};

// The key with which the most frames of the file are whole; none when there is no such frame. What
// is in the superblocks is tried although their checksums are wrong; when that does not lead to
// half of the frames, the seed is computed from the frames: one that two of them have in common.
std::optional<FoundKey> FindKey(const RescueSource& source, const FrontPages& front,
                                const RescueRequest& request);

}  // namespace packetdb::host
