#include "fuzz/asked_journal.h"

#include <cstdlib>
#include <filesystem>
#include <random>
#include <system_error>

#include "fuzz/promise.h"

namespace packetdb::fuzz {

AskedJournal::AskedJournal() : directory_("/dev/shm/packetdb-fuzz-XXXXXX") {
  constexpr std::size_t kEvents = 60;
  if (mkdtemp(directory_.data()) == nullptr) Fail("a folder in /dev/shm");
  std::mt19937 always_the_same(1);
  events_ = host::test::VariedEvents(kEvents, always_the_same);
  host::test::Journal(directory_, kAskedGroup, events_);
}

AskedJournal::~AskedJournal() {
  std::error_code ignored;
  std::filesystem::remove_all(directory_, ignored);
}

}  // namespace packetdb::fuzz
