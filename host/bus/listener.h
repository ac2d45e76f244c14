// The server's socket: a Unix stream socket at a path, which exists as long as somebody serves it.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <sys/stat.h>
#include <sys/types.h>

#include "host/bus/connection.h"
#include "host/bus/socket_descriptor.h"

namespace packetdb::host {

struct ListenOptions {
  std::string path;
  mode_t mode = 0660;          // exactly these bits, whatever the umask says
  std::optional<gid_t> group;  // nothing: the group that the system gives a new file
  int backlog = 64;            // connections that may wait for Accept
};

class Listener {
 public:
  // Creates the socket and listens. A socket that a dead process left at the path is replaced; one
  // that a living process serves is left alone (kAlreadyServed), and so is anything that is no
  // stream socket (kNotASocket). Other failures: kBadPath, kPathTooLong, kNoSuchSocket (the
  // directory does not exist), kNotPermitted, kDirectoryBusy, kTooManyFiles, kSystem. Returns null
  // with the reason in `failure`, which is left as it is on success.
  //
  // The directory of the path has to be one that only trusted users can write to.
  static std::unique_ptr<Listener> Open(const ListenOptions& options, BusFailure* failure);

  // Takes a listening stream socket over that somebody else made, and removes nothing at the end.
  // `name` is what failures are reported of. Never null; a socket that does not listen shows when
  // something is to be accepted.
  static std::unique_ptr<Listener> Adopt(SocketDescriptor socket, const std::string& name);

  // Stops listening and removes the socket, if it still is the one that was created here. In any
  // other process than the one that called Open it only closes.
  ~Listener();
  Listener(const Listener&) = delete;
  Listener& operator=(const Listener&) = delete;

  // Takes a waiting connection; never blocks. Null with the reason in `failure`: kNothingToAccept
  // (poll fd() for POLLIN and try again), kTooManyFiles (the connection goes on waiting), kSystem.
  std::unique_ptr<Connection> Accept(const Timeouts& timeouts, BusFailure* failure);

  // The same, as the mere socket, which does not block.
  SocketDescriptor AcceptSocket(BusFailure* failure);

  // Closes without removing the socket: for a child that was forked to serve a connection, which
  // would keep the socket alive after its parent's end.
  void Abandon();

  // For poll(). Negative after Abandon.
  int fd() const { return socket_.get(); }
  const std::string& path() const { return options_.path; }

 private:
  explicit Listener(const ListenOptions& options);

  bool Create(BusFailure* failure);
  bool RemoveStale(BusFailure* failure);
  bool Bind(BusFailure* failure);
  bool ApplyAccess(int named) const;
  bool OwnsPath() const;
  bool FailSystem(BusFailure* failure) const;

  ListenOptions options_;
  pid_t owner_;
  SocketDescriptor socket_;
  struct stat created_ {};  // the socket's file; st_ino 0 before it exists
};

}  // namespace packetdb::host
