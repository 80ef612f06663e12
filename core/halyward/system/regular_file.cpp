#include "halyward/system/regular_file.hpp"

#include "halyward/base/error.hpp"
#include "halyward/system/unique_fd.hpp"
#include "halyward/text/text.hpp"

#include <algorithm>
#include <cerrno>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace halyward {

namespace {

[[noreturn]] void refuse(std::string_view path, std::string_view reason) {
    throw HalywardError::failed("Halyward can't read " + text::quoted(path) + ": " +
                                std::string(reason) + ".");
}

std::string_view kindOf(mode_t mode) {
    if (S_ISDIR(mode)) return "it is a folder, not a file";
    if (S_ISFIFO(mode)) return "it is a named pipe, not a regular file";
    if (S_ISSOCK(mode)) return "it is a socket, not a regular file";
    if (S_ISCHR(mode) || S_ISBLK(mode)) return "it is a device, not a regular file";
    return "it is not a regular file";
}

bool inGroup(gid_t group) {
    if (::getegid() == group) return true;
    const int count = ::getgroups(0, nullptr);
    if (count <= 0) return false;
    std::vector<gid_t> groups(static_cast<std::size_t>(count));
    const int got = ::getgroups(count, groups.data());
    if (got <= 0) return false;
    groups.resize(static_cast<std::size_t>(got));
    return std::find(groups.begin(), groups.end(), group) != groups.end();
}

}  // namespace

std::optional<RegularFile> readRegularFile(std::string_view pathText, std::size_t maxBytes) {
    const std::string path(pathText);
    if (path.empty() || path.find('\0') != std::string::npos) {
        refuse(path, "it is not a valid file path");
    }
    // O_NONBLOCK makes opening a named pipe return at once instead of waiting for a
    // writer; O_NOCTTY keeps a terminal device from becoming our controlling terminal.
    const UniqueFd file(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY));
    if (!file.valid()) {
        const int error = errno;
        if (error == ENOENT) return std::nullopt;
        // A socket cannot be opened at all (ENXIO); naming what is there says more than
        // the system's reason.
        struct stat status {};
        if (::stat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode)) {
            refuse(path, kindOf(status.st_mode));
        }
        refuse(path, systemReason(error));
    }
    struct stat status {};
    if (::fstat(file.get(), &status) != 0) refuse(path, systemReason(errno));
    if (!S_ISREG(status.st_mode)) refuse(path, kindOf(status.st_mode));
    // Regular files never block, but a file system that honours the flag could report
    // EAGAIN for a slow read; reading in blocking mode from here on is what we want.
    const int flags = ::fcntl(file.get(), F_GETFL);
    if (flags >= 0) ::fcntl(file.get(), F_SETFL, flags & ~O_NONBLOCK);

    RegularFile result;
    result.permissions = static_cast<std::uint32_t>(status.st_mode & 07777);
    result.owner = status.st_uid;
    result.group = status.st_gid;
    if (status.st_size > 0) {
        result.bytes.reserve(std::min(maxBytes, static_cast<std::size_t>(status.st_size)));
    }
    char buffer[65536];
    while (result.bytes.size() < maxBytes) {
        const std::size_t wanted = std::min(sizeof buffer, maxBytes - result.bytes.size());
        const ssize_t count = ::read(file.get(), buffer, wanted);
        if (count < 0) {
            if (errno == EINTR) continue;
            refuse(path, systemReason(errno));
        }
        if (count == 0) break;
        result.bytes.append(buffer, static_cast<std::size_t>(count));
    }
    return result;
}

bool writableByCurrentUser(const RegularFile& file) {
    const uid_t user = ::geteuid();
    if (user == 0) return (file.permissions & 0222) != 0;
    if (file.owner == user) return (file.permissions & 0200) != 0;
    if (inGroup(file.group)) return (file.permissions & 0020) != 0;
    return (file.permissions & 0002) != 0;
}

}  // namespace halyward
