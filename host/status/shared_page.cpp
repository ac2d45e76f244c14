#include "host/status/shared_page.h"

#include <cerrno>
#include <new>
#include <sys/mman.h>
#include <system_error>

#include "host/sources/counters.h"

namespace packetdb::host {

static_assert(kSkipReasons <= kMostReasons, "every reason has its counter in the page");
static_assert(kRemarks <= kMostReasons, "every remark has its counter in the page");

void UnmapStatusPage::operator()(StatusPage* page) const { munmap(page, sizeof *page); }

StatusPagePtr MakeStatusPage() {
  void* const memory =
      mmap(nullptr, sizeof(StatusPage), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  if (memory == MAP_FAILED) {
    throw std::system_error(errno, std::generic_category(), "cannot share the page of counters");
  }
  return StatusPagePtr(new (memory) StatusPage);
}

}  // namespace packetdb::host
