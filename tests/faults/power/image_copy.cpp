#include "tests/faults/power/image_copy.h"

#include <fcntl.h>
#include <stdexcept>
#include <sys/mman.h>
#include <sys/sendfile.h>
#include <sys/stat.h>
#include <unistd.h>

namespace packetdb::faults {
namespace {

std::runtime_error Failure(const std::string& image) {
  return std::runtime_error("cannot copy " + image);
}

bool CopyRange(int from, int to, off_t begin, off_t end) {
  if (lseek(to, begin, SEEK_SET) != begin) return false;
  while (begin < end) {
    if (sendfile(to, from, &begin, static_cast<std::size_t>(end - begin)) <= 0) return false;
  }
  return true;
}

}  // namespace

host::Descriptor CopyToMemory(const std::string& image) {
  const host::Descriptor from(open(image.c_str(), O_RDONLY | O_CLOEXEC));
  host::Descriptor to(memfd_create("disk", MFD_CLOEXEC));
  struct stat status {};
  if (fstat(from.get(), &status) != 0 || ftruncate(to.get(), status.st_size) != 0) {
    throw Failure(image);
  }
  off_t data = lseek(from.get(), 0, SEEK_DATA);
  while (data >= 0) {
    const off_t hole = lseek(from.get(), data, SEEK_HOLE);
    if (!CopyRange(from.get(), to.get(), data, hole)) throw Failure(image);
    data = lseek(from.get(), hole, SEEK_DATA);
  }
  return to;
}

}  // namespace packetdb::faults
