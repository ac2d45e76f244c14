// What the operations on small files have in common when they call the system.
#pragma once

#include <cerrno>
#include <cstddef>
#include <string>
#include <string_view>

#include "host/record_file/descriptor.h"

namespace packetdb::host {

// "cannot WHAT PATH: REASON", as a JournalError.
[[noreturn]] void ThrowSystemError(const char* what, const std::string& path, int error);

// Makes a call again that a signal interrupted: some file systems let that happen at any of them.
template <class SystemCall>
int Uninterrupted(SystemCall call) {
  int result = call();
  while (result < 0 && errno == EINTR) {
    result = call();
  }
  return result;
}

// Never follows a symbolic link nor waits for who is at the other end of a FIFO. Closed, with the
// reason in errno, when that fails; a file that is created is for its owner and group.
Descriptor OpenSmallFile(const std::string& path, int flags);

// The contents of the open file, which has to be a regular one of at most `limit` bytes.
std::string ReadOpenFile(const Descriptor& file, std::size_t limit, const std::string& path);

// The whole text, from `offset` on.
void WriteOpenFile(const Descriptor& file, std::string_view text, std::size_t offset,
                   const std::string& path);

}  // namespace packetdb::host
