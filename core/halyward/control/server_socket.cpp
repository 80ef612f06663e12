#include "halyward/control/internal/server_socket.hpp"

#include "halyward/base/error.hpp"
#include "halyward/control/internal/local_socket.hpp"
#include "halyward/text/text.hpp"

#include <cerrno>

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace halyward::detail {

namespace {

// The folder that holds the socket: made with 0700 at every level we create, so no other
// user can reach the socket through a folder of ours. Folders that already exist are the
// user's own business and keep their modes.
void makeSocketFolder(const std::string& socketPath) {
    std::string::size_type slash = socketPath.rfind('/');
    if (slash == std::string::npos || slash == 0) return;  // the working folder or "/"
    const std::string folder = socketPath.substr(0, slash);
    struct stat info;
    if (::stat(folder.c_str(), &info) == 0) {
        if (S_ISDIR(info.st_mode)) return;
        throw HalywardError::failed("Cannot make the control socket's folder " +
                                    text::quoted(folder) + ": a file is in the way.");
    }
    for (std::string::size_type end = folder.find('/', 1);; end = folder.find('/', end + 1)) {
        const std::string level = folder.substr(0, end);
        if (::mkdir(level.c_str(), 0700) == 0) {
            ::chmod(level.c_str(), 0700);  // the umask may have taken owner bits away
        } else if (errno != EEXIST) {
            throw HalywardError::failed("Cannot make the control socket's folder " +
                                        text::quoted(level) + ": " + systemReason(errno) + ".");
        }
        if (end == std::string::npos) break;
    }
}

// A socket file can outlive the server that made it (a crash, a kill -9). One that
// refuses connections is such a leftover and is removed; one that answers belongs to a
// live server and is left alone. Anything that is not a socket is never removed.
void clearStaleSocket(const std::string& path) {
    struct stat info;
    if (::lstat(path.c_str(), &info) != 0) {
        if (errno == ENOENT) return;
        throw HalywardError::failed("Cannot use the control socket " + text::quoted(path) + ": " +
                                    systemReason(errno) + ".");
    }
    if (!S_ISSOCK(info.st_mode))
        throw HalywardError::failed("Cannot use the control socket " + text::quoted(path) +
                                    ": a file that is not a socket is already there.");
    UniqueFd probe = makeLocalSocket();
    int error = connectLocalSocket(probe.get(), path);
    switch (error) {
        case ECONNREFUSED:
            if (::unlink(path.c_str()) != 0 && errno != ENOENT)
                throw HalywardError::failed("Cannot remove the stale control socket " +
                                            text::quoted(path) + ": " + systemReason(errno) + ".");
            return;
        case ENOENT: return;  // gone in the meantime
        case 0:
        case EAGAIN:
        case EINPROGRESS:
            throw HalywardError::unavailable("Another Halyward is already listening on " +
                                             text::quoted(path) + ".");
        default:
            throw HalywardError::failed("Cannot use the control socket " + text::quoted(path) +
                                        ": " + systemReason(error) + ".");
    }
}

}  // namespace

SocketFile listenOnSocketFile(const std::string& path) {
    requireSocketPath(path);
    makeSocketFolder(path);
    clearStaleSocket(path);

    SocketFile file;
    file.socket = makeLocalSocket();
    // On Linux the socket file takes the socket's own mode at bind time, so this closes
    // the moment between bind and chmod in which the file would carry the umask's mode.
    ::fchmod(file.socket.get(), 0600);
    if (int error = bindLocalSocket(file.socket.get(), path); error != 0) {
        if (error == EADDRINUSE)
            throw HalywardError::unavailable("Another Halyward is already listening on " +
                                             text::quoted(path) + ".");
        throw HalywardError::failed("Cannot listen on " + text::quoted(path) + ": " +
                                    systemReason(error) + ".");
    }
    struct stat info;
    if (::chmod(path.c_str(), 0600) != 0 || ::lstat(path.c_str(), &info) != 0 ||
        ::listen(file.socket.get(), SOMAXCONN) != 0) {
        const int error = errno;
        ::unlink(path.c_str());
        throw HalywardError::failed("Cannot listen on " + text::quoted(path) + ": " +
                                    systemReason(error) + ".");
    }
    file.device = info.st_dev;
    file.inode = info.st_ino;
    return file;
}

void removeSocketFile(const std::string& path, dev_t device, ino_t inode) {
    struct stat info;
    if (::lstat(path.c_str(), &info) == 0 && info.st_dev == device && info.st_ino == inode)
        ::unlink(path.c_str());
}

bool fromSameUser(int connection) {
#if defined(SO_PEERCRED)
    ucred credentials{};
    socklen_t length = sizeof credentials;
    if (::getsockopt(connection, SOL_SOCKET, SO_PEERCRED, &credentials, &length) != 0) return false;
    return credentials.uid == ::geteuid();
#else
    uid_t user = 0;
    gid_t group = 0;
    if (::getpeereid(connection, &user, &group) != 0) return false;
    return user == ::geteuid();
#endif
}

UniqueFd acceptConnection(int listener) {
#if defined(SOCK_CLOEXEC) && defined(SOCK_NONBLOCK) && defined(__linux__)
    UniqueFd connection(::accept4(listener, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
#else
    UniqueFd connection(::accept(listener, nullptr, nullptr));
    if (connection.valid()) {
        ::fcntl(connection.get(), F_SETFD, FD_CLOEXEC);
        ::fcntl(connection.get(), F_SETFL, ::fcntl(connection.get(), F_GETFL) | O_NONBLOCK);
    }
#endif
#ifdef SO_NOSIGPIPE
    if (connection.valid()) {
        int on = 1;
        ::setsockopt(connection.get(), SOL_SOCKET, SO_NOSIGPIPE, &on, sizeof on);
    }
#endif
    return connection;
}

}  // namespace halyward::detail
