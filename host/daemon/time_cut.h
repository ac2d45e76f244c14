// What one reader of a source leaves to the next, by the times of the packets.
//
// A capture is opened anew for each reader, so that for a while two of them get every packet. A
// moment in that while, which the first is told before it comes, divides them: packets up to it
// belong to the first, those after it to the second. Both see all that come around that moment, so
// none is lost and none is journaled twice.
#pragma once

#include <optional>

#include "host/daemon/moment.h"
#include "host/sources/live_source.h"

namespace packetdb::host {

// Passes on what came up to a moment, and notices what came later.
class UntilSink final : public EventSink {
 public:
  enum class Later { kPassOn, kDrop };

  UntilSink(EventSink& next, Moment cut, Later later) : next_(next), cut_(cut), later_(later) {}
  void Take(const LiveEvent& event) override {
    const bool is_later = MomentOf(event.event) > cut_;
    passed_ = passed_ || is_later;
    if (!is_later || later_ == Later::kPassOn) {
      next_.Take(event);
    }
  }
  // Whether something later came: then everything up to the moment has come before.
  bool passed() const { return passed_; }

 private:
  EventSink& next_;
  Moment cut_;
  Later later_;
  bool passed_ = false;
};

// Passes on what came after a moment, and from then on everything: a clock that is set back later
// stops nothing.
class SinceSink final : public EventSink {
 public:
  SinceSink(EventSink& next, Moment cut) : next_(next), cut_(cut) {}
  void Take(const LiveEvent& event) override {
    passed_ = passed_ || MomentOf(event.event) > cut_;
    if (passed_) {
      next_.Take(event);
    }
  }

 private:
  EventSink& next_;
  Moment cut_;
  bool passed_ = false;
};

}  // namespace packetdb::host
