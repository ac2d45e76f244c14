// The system calls of the record file, so that a test can let one fail, or do something first.
//
// A program that links this has functions of its own under those names, and the dynamic linker
// prefers them. They do what they always do unless an Interposition lives.
#pragma once

#include <functional>
#include <optional>
#include <vector>

namespace packetdb::host {

enum class Call {
  kOpen,
  kStat,
  kFstat,
  kLstat,
  kFcntl,
  kRead,
  kPread,
  kPwrite,
  kMmap,
  kMremap,
  kFsync,
  kFdatasync,
  kFallocate,
  kFtruncate,
  kFchmod,
  kRename,
  kUnlink,
  kFstatfs,
  kIoctl,
  kGeteuid,
  kThread,
};

const char* NameOf(Call call);

// A call that is about to be made.
struct Made {
  Call call = Call::kOpen;
  const char* path = "";  // kOpen, kStat, kLstat, kRename (to where), kUnlink
  void* out = nullptr;    // kStat, kFstat, kLstat, kRead, kFstatfs, kIoctl: what it would fill
};

// What it returns instead; -1 leaves the error in errno.
struct Instead {
  long result = -1;
  int error = 0;
};

// Nothing: the call is made.
using Hook = std::function<std::optional<Instead>(const Made&)>;

// While it lives, all threads of this process ask `hook` before each call. What the hook itself
// calls is made. Only one at a time.
class Interposition {
 public:
  explicit Interposition(Hook hook);
  Interposition(const Interposition&) = delete;
  Interposition& operator=(const Interposition&) = delete;
  ~Interposition();

 private:
  Hook hook_;
};

// The `nth` call of its kind, counted from 1, fails with `error`.
Hook FailNth(Call call, int nth, int error);
// From that one on all do.
Hook FailFrom(Call call, int nth, int error);
// Before the `nth` call of its kind, `act` is done.
Hook BeforeNth(Call call, int nth, std::function<void()> act);
// The `nth` call of its kind returns `result` and does nothing.
Hook ReturnAtNth(Call call, int nth, long result);
// Both hooks, the second only where the first lets a call be made.
Hook Both(Hook first, Hook second);

}  // namespace packetdb::host
