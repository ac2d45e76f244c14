#include "host/record_file/folder.h"

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

#include "host/record_file/descriptor.h"

namespace packetdb::host {

std::string FolderOf(const std::string& path) {
  const std::size_t slash = path.find_last_of('/');
  if (slash == std::string::npos) return ".";
  if (slash == 0) return "/";
  return path.substr(0, slash);
}

RecordFileResult FlushFolderOf(const std::string& path) {
  const Descriptor folder = OpenDescriptor(FolderOf(path), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (!folder.IsOpen()) return ResultFromErrno(errno);
  const int result = FlushFile(folder);
  const bool is_done = result == 0 || errno == EINVAL;
  return is_done ? kRecordFileOk : ResultFromErrno(errno);
}

}  // namespace packetdb::host
