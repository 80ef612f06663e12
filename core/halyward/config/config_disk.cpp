#include "halyward/config/config_file.hpp"

#include "halyward/base/error.hpp"
#include "halyward/system/atomic_file.hpp"
#include "halyward/system/regular_file.hpp"
#include "halyward/system/unique_fd.hpp"
#include "halyward/text/text.hpp"

#include <cerrno>
#include <limits>
#include <optional>
#include <string>
#include <system_error>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

// Reading config.toml and its locked read-modify-write.

namespace halyward {

namespace {

namespace fs = std::filesystem;

std::string quotedPath(const fs::path& path) { return text::quoted(path.string()); }

// Reads the whole file; nothing when the file does not exist. A named pipe or anything
// else that is not a regular file is refused rather than waited on.
std::optional<RegularFile> readConfigFile(const fs::path& path) {
    try {
        return readRegularFile(path.native(), std::numeric_limits<std::size_t>::max());
    } catch (const HalywardError& error) {
        // The configuration's own kind of failure, so the exit status says where to look.
        throw HalywardError::config(error.message);
    }
}

// The file a chain of symbolic links at `path` ends in, or `path` itself when it is not a
// link. Links are how users keep their dotfiles, so an edit goes to the file the link
// points to, and the link stays a link; the file there is created when it does not exist
// yet. Only the final name is followed: folders on the way are the system's business.
fs::path linkTarget(const fs::path& path) {
    // The same bound the system puts on following links when it opens a path.
    constexpr int maxLinks = 40;
    fs::path target = path;
    for (int followed = 0;; ++followed) {
        std::error_code error;
        if (!fs::is_symlink(fs::symlink_status(target, error)) || error) return target;
        if (followed == maxLinks) {
            throw HalywardError::config("The configuration file " + quotedPath(path) +
                                        " is a symbolic link that leads round in a circle.");
        }
        const fs::path next = fs::read_symlink(target, error);
        if (error) {
            throw HalywardError::config("Halyward can't follow the link " + quotedPath(target) +
                                        ": " + systemReason(error.value()) + ".");
        }
        target = next.is_absolute() ? next : target.parent_path() / next;
    }
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

std::optional<std::string> ConfigFile::readText(const fs::path& path) {
    std::optional<RegularFile> file = readConfigFile(path);
    if (!file) return std::nullopt;
    return std::move(file->bytes);
}

ConfigFile ConfigFile::load(const fs::path& path) {
    const std::optional<RegularFile> file = readConfigFile(path);
    if (!file) return makeDefault();
    return ConfigFile(file->bytes);
}

ConfigFile ConfigFile::update(const fs::path& path, const std::function<void(ConfigFile&)>& edit) {
    const fs::path target = linkTarget(path);

    fs::path folder = target.parent_path();
    if (folder.empty()) folder = ".";
    std::error_code error;
    fs::create_directories(folder, error);
    if (error) {
        throw HalywardError::config("Halyward can't create the configuration folder " +
                                    quotedPath(folder) + ": " + systemReason(error.value()) + ".");
    }

    fs::path lockPath = path;
    lockPath += ".lock";
    const ConfigLock lock(lockPath);

    const std::optional<RegularFile> current = readConfigFile(target);
    if (current && !writableByCurrentUser(*current)) {
        // Replacing the file would succeed whatever its mode, because a rename needs only
        // the folder to be writable; a file made read-only says "do not change me".
        throw HalywardError::config("The configuration file " + quotedPath(target) +
                                    " is read-only, so Halyward left it as it is. Make it "
                                    "writable (for example with chmod u+w) to change it.");
    }
    ConfigFile file = current ? ConfigFile(current->bytes) : makeDefault();

    edit(file);

    std::string rendered = file.text();
    if (!current || rendered != current->bytes) {
        const std::uint32_t mode = current ? current->permissions : 0644;
        AtomicFile::write(std::string_view(rendered), target.native(),
                          static_cast<std::uint16_t>(mode));
    }
    return file;
}

}  // namespace halyward
