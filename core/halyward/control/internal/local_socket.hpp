#pragma once
// Local stream sockets as the control client and server both use them. Internal to the
// control module (and its tests).

#include "halyward/system/unique_fd.hpp"

#include <cstddef>
#include <string_view>

namespace halyward::detail {

// Throws HalywardError::failed when `path` cannot be a local socket address (empty,
// holding a NUL byte, or longer than `controlSocketPathLimit()`).
void requireSocketPath(std::string_view path);

// A new non-blocking, close-on-exec local stream socket whose writes never raise SIGPIPE.
// Throws HalywardError::failed when the system has no socket to give.
UniqueFd makeLocalSocket();

// Connects the non-blocking `socket` to `path`: 0 when connected, or the errno of the
// attempt (EINPROGRESS and EAGAIN mean "not yet"). `path` must pass requireSocketPath.
int connectLocalSocket(int socket, std::string_view path);

// Binds `socket` to `path`: 0 or the errno. `path` must pass requireSocketPath.
int bindLocalSocket(int socket, std::string_view path);

// Sends bytes without ever raising SIGPIPE; the result and errno are those of send(2).
long sendNoSignal(int socket, const char* data, std::size_t size);

}  // namespace halyward::detail
