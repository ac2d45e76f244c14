#include "tests/faults/power/file_view.h"

#include <fcntl.h>
#include <filesystem>
#include <stdexcept>
#include <sys/mman.h>

#include "host/record_file/descriptor.h"

namespace packetdb::faults {

FileView::FileView(const std::string& path) {
  const host::Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
  if (!file.IsOpen()) throw std::runtime_error("cannot open " + path);
  const std::size_t size = std::filesystem::file_size(path);
  void* const memory =
      mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_NORESERVE, file.get(), 0);
  if (memory == MAP_FAILED) throw std::runtime_error("cannot map " + path);
  bytes_ = {static_cast<char*>(memory), size};
}

FileView::~FileView() { munmap(bytes_.data(), bytes_.size()); }

}  // namespace packetdb::faults
