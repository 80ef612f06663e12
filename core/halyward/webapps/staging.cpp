#include "halyward/webapps/staging.hpp"

#include "halyward/base/error.hpp"
#include "halyward/text/text.hpp"
#include "halyward/webapps/bundle_plan.hpp"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <ctime>
#include <system_error>

namespace halyward {

namespace fs = std::filesystem;

namespace {

constexpr std::string_view kPrefix = ".halyward-";
constexpr std::string_view kSuffix = ".tmp";

// The folder at `path`, locked without waiting; an invalid descriptor when it is held
// elsewhere, is not a folder or cannot be opened.
UniqueFd tryHold(const fs::path& path) {
    UniqueFd fd(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (!fd.valid()) return {};
    int result;
    do {
        result = ::flock(fd.get(), LOCK_EX | LOCK_NB);
    } while (result != 0 && errno == EINTR);
    if (result != 0) return {};
    return fd;
}

// True when the folder open at `fd` was last changed at least `minimumAge` ago.
bool oldEnough(int fd, std::chrono::seconds minimumAge) {
    struct stat status {};
    if (::fstat(fd, &status) != 0 || !S_ISDIR(status.st_mode)) return false;
    const std::time_t now = std::time(nullptr);
    return now - status.st_mtime >= static_cast<std::time_t>(minimumAge.count());
}

// The stale folders, each returned with the lock that proved it stale still held.
std::vector<std::pair<fs::path, UniqueFd>> heldStaleFolders(const fs::path& appsFolder,
                                                            std::chrono::seconds minimumAge) {
    std::vector<std::pair<fs::path, UniqueFd>> found;
    std::error_code error;
    fs::directory_iterator entries(appsFolder, error);
    if (error) return found;
    for (const fs::directory_entry& entry : entries) {
        if (!isStagingFolderName(entry.path().filename().string())) continue;
        UniqueFd held = tryHold(entry.path());
        if (held.valid() && oldEnough(held.get(), minimumAge)) {
            found.emplace_back(entry.path(), std::move(held));
        }
    }
    return found;
}

}  // namespace

bool isStagingFolderName(std::string_view name) {
    if (!name.starts_with(kPrefix) || !name.ends_with(kSuffix)) return false;
    const std::string_view id =
        name.substr(kPrefix.size(), name.size() - kPrefix.size() - kSuffix.size());
    const auto parsed = UUID::parse(id);
    return parsed && parsed->uuidString() == id;
}

UniqueFd holdFolder(const fs::path& path) {
    UniqueFd fd(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (!fd.valid()) return {};
    int result;
    do {
        result = ::flock(fd.get(), LOCK_EX);
    } while (result != 0 && errno == EINTR);
    return fd;
}

StagingFolder::StagingFolder(const fs::path& target)
    : path_(target.parent_path() /
            (std::string(kPrefix) + UUID::random().uuidString() + std::string(kSuffix))) {
    std::error_code error;
    fs::create_directory(path_, error);
    if (error) {
        throw HalywardError::failed("Halyward can't write " + text::quoted(path_.string()) + ": " +
                                    systemReason(error.value()) + ".");
    }
    // Held from here on; a sweeper that saw the folder before this line still leaves it,
    // since it is far younger than kStaleStagingAge.
    lock_ = holdFolder(path_);
}

StagingFolder::~StagingFolder() {
    if (kept_) return;
    std::error_code ignored;
    fs::remove_all(path_, ignored);
}

std::vector<fs::path> staleStagingFolders(const fs::path& appsFolder,
                                          std::chrono::seconds minimumAge) {
    std::vector<fs::path> paths;
    for (auto& [path, held] : heldStaleFolders(appsFolder, minimumAge)) paths.push_back(path);
    return paths;
}

std::vector<fs::path> removeStaleStagingFolders(const fs::path& appsFolder,
                                                std::chrono::seconds minimumAge) {
    std::vector<fs::path> removed;
    for (auto& [path, held] : heldStaleFolders(appsFolder, minimumAge)) {
        std::error_code error;
        fs::remove_all(path, error);
        if (!error) removed.push_back(path);
    }
    return removed;
}

}  // namespace halyward
