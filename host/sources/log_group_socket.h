// The socket that a netfilter log group's records come from.
#pragma once

#include <cstdint>
#include <memory>

#include "host/sources/log_group_options.h"

struct mnl_socket;

namespace packetdb::host {

class LogGroupSocket {
 public:
  // A new socket that holds the group. Nothing but records comes from it. Throws SourceError.
  static LogGroupSocket Open(const LogGroupOptions& options);
  // See LogGroup::Adopt().
  static LogGroupSocket Adopt(int fd, const LogGroupOptions& options);

  int fd() const;
  // As the kernel counts, which is twice what one asks for: its own book-keeping is in it.
  std::uint32_t buffer_bytes() const;

 private:
  struct Closer {
    void operator()(mnl_socket* socket) const;
  };
  using Handle = std::unique_ptr<mnl_socket, Closer>;

  explicit LogGroupSocket(Handle handle) : handle_(std::move(handle)) {}
  void BindGroup(const LogGroupOptions& options);
  void CheckIsHolder(std::uint16_t group) const;

  Handle handle_;
};

}  // namespace packetdb::host
