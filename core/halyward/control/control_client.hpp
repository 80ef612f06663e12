#pragma once
/// The command line's side of the control socket: one request line out, one response
/// line back, within a time limit.

#include "halyward/base/command_output.hpp"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace halyward {

/// The longest socket path, in UTF-8 bytes, that a local socket address holds on this
/// system (the address field less its terminating NUL). Pass it as `pathLimit` to
/// `HalywardPaths::resolvedSocketFile`.
std::size_t controlSocketPathLimit();

namespace ControlClient {

/// Asks the running app to run `arguments` and returns its output. Waits at most
/// `timeoutSeconds` in all (connecting, writing and reading); an infinite value waits
/// for as long as it takes, zero, negative or NaN only takes an answer that is already
/// there. Throws HalywardError::unavailable("Halyward is not running.") when nothing
/// listens at `socketPath`, HalywardError::unavailable when no answer comes in time, and
/// HalywardError::failed when the answer cannot be read or belongs to another request.
CommandOutput send(const std::string& socketPath, const std::vector<std::string>& arguments,
                   double timeoutSeconds);

}  // namespace ControlClient

namespace detail {

/// An owned file descriptor, closed when the owner goes away.
class UniqueFd {
public:
    UniqueFd() = default;
    explicit UniqueFd(int fd) : fd_(fd) {}
    UniqueFd(UniqueFd&& other) noexcept : fd_(other.release()) {}
    UniqueFd& operator=(UniqueFd&& other) noexcept;
    UniqueFd(const UniqueFd&) = delete;
    UniqueFd& operator=(const UniqueFd&) = delete;
    ~UniqueFd() { reset(); }

    int get() const { return fd_; }
    bool valid() const { return fd_ >= 0; }
    int release() {
        int fd = fd_;
        fd_ = -1;
        return fd;
    }
    void reset(int fd = -1);

private:
    int fd_ = -1;
};

/// Throws HalywardError::failed when `path` cannot be a local socket address (empty,
/// holding a NUL byte, or longer than `controlSocketPathLimit()`).
void requireSocketPath(std::string_view path);

/// A new non-blocking, close-on-exec local stream socket whose writes never raise SIGPIPE.
/// Throws HalywardError::failed when the system has no socket to give.
UniqueFd makeLocalSocket();

/// Connects the non-blocking `socket` to `path`: 0 when connected, or the errno of the
/// attempt (EINPROGRESS and EAGAIN mean "not yet"). `path` must pass requireSocketPath.
int connectLocalSocket(int socket, std::string_view path);

/// Binds `socket` to `path`: 0 or the errno. `path` must pass requireSocketPath.
int bindLocalSocket(int socket, std::string_view path);

/// Sends bytes without ever raising SIGPIPE; the result and errno are those of send(2).
long sendNoSignal(int socket, const char* data, std::size_t size);

}  // namespace detail

}  // namespace halyward
