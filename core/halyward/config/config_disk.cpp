#include "halyward/config/config_file.hpp"

#include "halyward/base/error.hpp"
#include "halyward/system/atomic_file.hpp"
#include "halyward/system/unique_fd.hpp"
#include "halyward/text/text.hpp"

#include <cerrno>
#include <optional>
#include <string>
#include <system_error>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

// Reading config.toml and its locked read-modify-write.

namespace halyward {

namespace {

namespace fs = std::filesystem;

std::string quotedPath(const fs::path& path) { return text::quoted(path.string()); }

// Reads the whole file, and its permission bits into `mode` when given; nothing when the
// file does not exist.
std::optional<std::string> readConfigText(const fs::path& path, mode_t* mode) {
    // Non-blocking, so a FIFO in place of the file is refused below rather than waited on.
    const UniqueFd file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (!file.valid()) {
        if (errno == ENOENT) return std::nullopt;
        throw HalywardError::config("Halyward can't read the configuration file " +
                                    quotedPath(path) + ": " + systemReason(errno) + ".");
    }
    struct stat status {};
    if (::fstat(file.get(), &status) != 0) {
        throw HalywardError::config("Halyward can't read the configuration file " +
                                    quotedPath(path) + ": " + systemReason(errno) + ".");
    }
    if (S_ISDIR(status.st_mode)) {
        throw HalywardError::config("The configuration file " + quotedPath(path) +
                                    " is a folder, not a file.");
    }
    if (!S_ISREG(status.st_mode)) {
        throw HalywardError::config("The configuration file " + quotedPath(path) +
                                    " is not a regular file.");
    }
    if (mode) *mode = status.st_mode & 07777;
    std::string text;
    if (status.st_size > 0) text.reserve(static_cast<std::size_t>(status.st_size));
    char buffer[65536];
    for (;;) {
        const ssize_t count = ::read(file.get(), buffer, sizeof buffer);
        if (count < 0) {
            if (errno == EINTR) continue;
            throw HalywardError::config("Halyward can't read the configuration file " +
                                        quotedPath(path) + ": " + systemReason(errno) + ".");
        }
        if (count == 0) break;
        text.append(buffer, static_cast<std::size_t>(count));
    }
    return text;
}

// Holds an exclusive flock on the lock file beside the configuration until destroyed;
// closing the descriptor releases the lock.
class ConfigLock {
public:
    explicit ConfigLock(const fs::path& lockPath)
        : fd_(::open(lockPath.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644)) {
        if (!fd_.valid()) {
            throw HalywardError::config("Halyward can't lock the configuration with " +
                                        quotedPath(lockPath) + ": " + systemReason(errno) + ".");
        }
        int result;
        do {
            result = ::flock(fd_.get(), LOCK_EX);
        } while (result != 0 && errno == EINTR);
        if (result != 0) {
            const int error = errno;
            throw HalywardError::config("Halyward can't lock the configuration with " +
                                        quotedPath(lockPath) + ": " + systemReason(error) + ".");
        }
    }

private:
    UniqueFd fd_;
};

}  // namespace

ConfigFile ConfigFile::load(const fs::path& path) {
    std::optional<std::string> text = readConfigText(path, nullptr);
    if (!text) return makeDefault();
    return ConfigFile(*text);
}

ConfigFile ConfigFile::update(const fs::path& path, const std::function<void(ConfigFile&)>& edit) {
    // Following a link keeps the user's link in place and edits the file it points to.
    std::error_code error;
    fs::path target = path;
    if (fs::is_symlink(fs::symlink_status(path, error))) {
        fs::path resolved = fs::weakly_canonical(path, error);
        if (!error) target = resolved;
    }

    fs::path folder = target.parent_path();
    if (folder.empty()) folder = ".";
    error.clear();
    fs::create_directories(folder, error);
    if (error) {
        throw HalywardError::config("Halyward can't create the configuration folder " +
                                    quotedPath(folder) + ": " + systemReason(error.value()) + ".");
    }

    fs::path lockPath = path;
    lockPath += ".lock";
    const ConfigLock lock(lockPath);

    mode_t mode = 0644;
    std::optional<std::string> text = readConfigText(target, &mode);
    const bool existed = text.has_value();
    ConfigFile file = existed ? ConfigFile(*text) : makeDefault();

    edit(file);

    std::string rendered = file.text();
    if (!existed || rendered != *text) {
        AtomicFile::write(std::string_view(rendered), target.native(),
                          static_cast<std::uint16_t>(mode));
    }
    return file;
}

}  // namespace halyward
