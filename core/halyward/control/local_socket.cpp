#include "halyward/control/internal/local_socket.hpp"

#include "halyward/base/error.hpp"
#include "halyward/control/control_client.hpp"
#include "halyward/text/text.hpp"

#include <cerrno>
#include <cstddef>
#include <cstring>
#include <string>

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace halyward {

std::size_t controlSocketPathLimit() { return sizeof(sockaddr_un::sun_path) - 1; }

namespace detail {

void requireSocketPath(std::string_view path) {
    if (path.empty()) throw HalywardError::failed("The control socket path is empty.");
    if (path.find('\0') != std::string_view::npos)
        throw HalywardError::failed("The control socket path " + text::quoted(path) +
                                    " holds a NUL byte.");
    if (path.size() > controlSocketPathLimit())
        throw HalywardError::failed("The control socket path " + text::quoted(path) + " is " +
                                    std::to_string(path.size()) +
                                    " bytes long; a local socket address holds at most " +
                                    std::to_string(controlSocketPathLimit()) + ".");
}

UniqueFd makeLocalSocket() {
#if defined(SOCK_CLOEXEC) && defined(SOCK_NONBLOCK)
    UniqueFd socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
#else
    UniqueFd socket(::socket(AF_UNIX, SOCK_STREAM, 0));
    if (socket.valid()) {
        ::fcntl(socket.get(), F_SETFD, FD_CLOEXEC);
        ::fcntl(socket.get(), F_SETFL, ::fcntl(socket.get(), F_GETFL) | O_NONBLOCK);
    }
#endif
    if (!socket.valid())
        throw HalywardError::failed("Cannot open a local socket: " + systemReason(errno) + ".");
#ifdef SO_NOSIGPIPE
    int on = 1;
    ::setsockopt(socket.get(), SOL_SOCKET, SO_NOSIGPIPE, &on, sizeof on);
#endif
    return socket;
}

namespace {

socklen_t fillAddress(sockaddr_un& address, std::string_view path) {
    std::memset(&address, 0, sizeof address);
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, path.data(), path.size());
    return static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + path.size() + 1);
}

}  // namespace

int connectLocalSocket(int socket, std::string_view path) {
    sockaddr_un address;
    socklen_t length = fillAddress(address, path);
    if (::connect(socket, reinterpret_cast<const sockaddr*>(&address), length) == 0) return 0;
    return errno;
}

int bindLocalSocket(int socket, std::string_view path) {
    sockaddr_un address;
    socklen_t length = fillAddress(address, path);
    if (::bind(socket, reinterpret_cast<const sockaddr*>(&address), length) == 0) return 0;
    return errno;
}

long sendNoSignal(int socket, const char* data, std::size_t size) {
#ifdef MSG_NOSIGNAL
    return ::send(socket, data, size, MSG_NOSIGNAL);
#else
    return ::send(socket, data, size, 0);  // SO_NOSIGPIPE is set on every socket we make
#endif
}

}  // namespace detail

}  // namespace halyward
