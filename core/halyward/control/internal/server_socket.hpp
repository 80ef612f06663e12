#pragma once
// The server's side of the socket file: making it safely, accepting on it and removing it.
// Internal to the control module.

#include "halyward/system/unique_fd.hpp"

#include <string>

#include <sys/types.h>

namespace halyward::detail {

// A listening socket and the identity of the socket file it made, so that the file is
// only ever removed by the server that made it.
struct SocketFile {
    UniqueFd socket;
    dev_t device = 0;
    ino_t inode = 0;
};

// Makes the socket's folder (0700 at every level made) when missing, removes a stale
// socket file, binds and listens with the file at mode 0600. Throws
// HalywardError::unavailable when another server answers at `path`, and
// HalywardError::failed for every other problem.
SocketFile listenOnSocketFile(const std::string& path);

// Removes the socket file at `path` unless another server has replaced the one with this
// device and inode meanwhile.
void removeSocketFile(const std::string& path, dev_t device, ino_t inode);

// Accepts one connection, non-blocking and close-on-exec; an invalid owner (errno set)
// when there is none to accept.
UniqueFd acceptConnection(int listener);

// Whether the peer of `connection` runs as this process's user.
bool fromSameUser(int connection);

}  // namespace halyward::detail
