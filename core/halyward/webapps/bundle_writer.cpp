#include "halyward/webapps/bundle_writer.hpp"

#include "halyward/base/error.hpp"
#include "halyward/system/atomic_file.hpp"
#include "halyward/system/regular_file.hpp"
#include "halyward/text/text.hpp"
#include "halyward/webapps/bundle_info.hpp"
#include "halyward/webapps/desktop_entry.hpp"
#include "halyward/webapps/icns.hpp"
#include "halyward/webapps/sha256.hpp"

#include <fcntl.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <memory>
#include <system_error>

extern char** environ;

namespace halyward::WebBundleWriter {

namespace {

namespace fs = std::filesystem;

constexpr std::uint16_t kFileMode = 0644;
// The host executable is a few megabytes; a file far larger is not one, and reading it
// whole for its digest would only cost memory.
constexpr std::size_t kMaxHostBytes = 256 * 1024 * 1024;
constexpr fs::perms kExecutableMode = static_cast<fs::perms>(0755);

[[noreturn]] void fail(const fs::path& path, const std::error_code& error) {
    throw HalywardError::failed("Halyward can't write " + text::quoted(path.string()) + ": " +
                                systemReason(error.value()) + ".");
}

// A hidden, unique name in the same folder as `path`, so a rename never crosses volumes.
fs::path siblingTemporary(const fs::path& path) {
    return path.parent_path() / (".halyward-" + UUID::random().uuidString() + ".tmp");
}

void createFolders(const fs::path& path) {
    std::error_code error;
    fs::create_directories(path, error);
    if (error) fail(path, error);
}

void writeDetails(const fs::path& bundle, const WebAppBundlePlan& plan) {
    AtomicFile::write(plan.infoPlist(), (bundle / "Contents" / "Info.plist").string(), kFileMode);
    AtomicFile::write(plan.stubJSON(), (bundle / "Contents" / "Resources" / "stub.json").string(),
                      kFileMode);
}

// Copies the host executable to a temporary name beside `target`, makes it executable and
// renames it over `target`, so a running app or a reader never sees a partial file.
void placeHost(const fs::path& hostBinary, const fs::path& target) {
    std::error_code error;
    if (!fs::is_regular_file(hostBinary, error)) {
        throw HalywardError::failed("Halyward can't find the web-app host at " +
                                    text::quoted(hostBinary.string()) + ".");
    }
    const fs::path temporary = siblingTemporary(target);
    const auto cleanUp = [&] {
        std::error_code ignored;
        fs::remove(temporary, ignored);
    };
    if (!fs::copy_file(hostBinary, temporary, fs::copy_options::overwrite_existing, error)) {
        cleanUp();
        fail(target, error);
    }
    fs::permissions(temporary, kExecutableMode, fs::perm_options::replace, error);
    if (!error) fs::rename(temporary, target, error);
    if (error) {
        cleanUp();
        fail(target, error);
    }
}

void checkIcons(const std::optional<std::vector<std::uint8_t>>& icon,
                const std::optional<std::vector<std::uint8_t>>& pngIcon) {
    if ((icon && icon->empty()) || (pngIcon && pngIcon->empty())) {
        throw HalywardError::usage("The app's icon is empty (0 bytes).");
    }
    if (pngIcon && !isPNG(*pngIcon)) {
        throw HalywardError::usage("The app's icon needs to be a PNG image.");
    }
}

// Renames `from` to `to` unless something is at `to`: false then, with nothing changed.
// The check and the rename are one step where the system offers it; elsewhere callers
// hold the configuration lock, under which every bundle of ours is placed.
bool renameWithoutReplacing(const fs::path& from, const fs::path& to, std::error_code& error) {
    error.clear();
#if defined(__APPLE__)
    if (::renamex_np(from.c_str(), to.c_str(), RENAME_EXCL) == 0) return true;
#else
    if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) {
        return true;
    }
#endif
    if (errno == EEXIST) return false;
    if (errno != EINVAL && errno != ENOSYS && errno != ENOTSUP) {
        error.assign(errno, std::generic_category());
        return false;
    }
    // A file system without the flag.
    std::error_code ignored;
    if (fs::symlink_status(to, ignored).type() != fs::file_type::not_found) return false;
    fs::rename(from, to, error);
    return !error;
}

// True when `path` (not followed) is the very file or folder open at `fd`.
bool sameFile(int fd, const fs::path& path) {
    struct stat held {};
    struct stat there {};
    return ::fstat(fd, &held) == 0 && ::lstat(path.c_str(), &there) == 0 &&
           held.st_dev == there.st_dev && held.st_ino == there.st_ino;
}

// Builds the bundle's files into the folder `root`.
void assemble(const fs::path& root, const WebAppBundlePlan& plan, const fs::path& hostBinary,
              const std::optional<std::vector<std::uint8_t>>& icon,
              const std::optional<std::vector<std::uint8_t>>& pngIcon) {
    const fs::path resources = root / "Contents" / "Resources";
    createFolders(root / "Contents" / "MacOS");
    createFolders(resources);
    writeDetails(root, plan);
    if (icon) AtomicFile::write(*icon, (resources / "AppIcon.icns").string(), kFileMode);
    if (pngIcon) AtomicFile::write(*pngIcon, (resources / "AppIcon.png").string(), kFileMode);
    placeHost(hostBinary, webHostExecutable(root));
}

void checkPlan(const WebAppBundlePlan& plan) {
    validatedAppName(plan.name);
    // The plan's fields are public; make sure an edited path still names one bundle folder
    // inside the apps folder before anything is written.
    if (plan.bundlePath.filename() != plan.name + ".app") {
        throw HalywardError::usage(text::quoted(plan.bundlePath.string()) +
                                   " is not a bundle path for the app " + text::quoted(plan.name) +
                                   ".");
    }
}

// Puts the finished bundle at `target`. An old bundle there is first moved aside to a
// hidden name (held, so no other run takes it for a leftover) and deleted only once the
// new one is in place; should the second rename fail, the old bundle is moved back.
void swapIntoPlace(const fs::path& staged, const fs::path& target) {
    std::error_code error;
    const bool replacing = fs::symlink_status(target, error).type() != fs::file_type::not_found;
    if (!replacing) {
        fs::rename(staged, target, error);
        if (error) fail(target, error);
        return;
    }
    const UniqueFd held = holdFolder(target);
    const fs::path old = siblingTemporary(target);
    fs::rename(target, old, error);
    if (error) fail(target, error);
    fs::rename(staged, target, error);
    if (error) {
        std::error_code ignored;
        fs::rename(old, target, ignored);
        fail(target, error);
    }
    fs::remove_all(old, error);  // a leftover hidden folder is harmless
}

}  // namespace

std::optional<std::string> digest(const fs::path& ofFile) {
    // A named pipe or a link to a device where the host should be must neither stall the
    // reader nor feed it without end: only a regular file of a sane size is read.
    std::optional<RegularFile> file;
    try {
        file = readRegularFile(ofFile.string(), kMaxHostBytes + 1);
    } catch (const HalywardError&) {
        return std::nullopt;
    }
    if (!file || file->bytes.size() > kMaxHostBytes) return std::nullopt;
    detail::Sha256 sha256;
    sha256.update(file->bytes.data(), file->bytes.size());
    return sha256.hexDigest();
}

std::unique_ptr<StagingFolder> stage(const WebAppBundlePlan& plan, const fs::path& hostBinary,
                                     const std::optional<std::vector<std::uint8_t>>& icon,
                                     const std::optional<std::vector<std::uint8_t>>& pngIcon) {
    checkPlan(plan);
    checkIcons(icon, pngIcon);
    createFolders(plan.bundlePath.parent_path());
    auto staging = std::make_unique<StagingFolder>(plan.bundlePath);
    assemble(staging->path(), plan, hostBinary, icon, pngIcon);
    return staging;
}

void requireFreeBundlePath(const fs::path& bundlePath) {
    std::error_code error;
    if (fs::symlink_status(bundlePath, error).type() == fs::file_type::not_found) return;
    throw HalywardError::conflict(
        "There is already something at " + text::quoted(bundlePath.string()) +
        " that no web app records, and Halyward leaves it alone. Choose another --name, or "
        "move that away first.");
}

void place(StagingFolder& staged, const fs::path& bundlePath) {
    std::error_code error;
    if (!renameWithoutReplacing(staged.path(), bundlePath, error)) {
        if (error) fail(bundlePath, error);
        requireFreeBundlePath(bundlePath);
        // Gone again since the rename found it: still not ours to take.
        throw HalywardError::conflict("Something else was at " + text::quoted(bundlePath.string()) +
                                      " a moment ago.");
    }
    staged.keep();
}

void withdraw(const StagingFolder& staged, const fs::path& bundlePath, std::string_view home) {
    if (!sameFile(staged.descriptor(), bundlePath)) return;
    // Moved aside first, then checked again: between the check and a delete another run
    // could have put its own bundle there, and deleting by path would take that one.
    const fs::path aside = siblingTemporary(bundlePath);
    std::error_code error;
    fs::rename(bundlePath, aside, error);
    if (error) return;
    if (!sameFile(staged.descriptor(), aside)) {
        renameWithoutReplacing(aside, bundlePath, error);
        return;
    }
    fs::remove_all(aside, error);
#if !defined(__APPLE__)
    removeDesktopEntries(home, bundlePath);
#else
    (void)home;
#endif
}

void install(const WebAppBundlePlan& plan, const fs::path& hostBinary,
             const std::optional<std::vector<std::uint8_t>>& icon, std::string_view home,
             const std::optional<std::vector<std::uint8_t>>& pngIcon) {
    const std::unique_ptr<StagingFolder> staging = stage(plan, hostBinary, icon, pngIcon);
    swapIntoPlace(staging->path(), plan.bundlePath);
    staging->keep();
    signAndRegister(plan.bundlePath, plan.bundleIdentifier, home);
}

void refreshDetails(const fs::path& at, const WebAppBundlePlan& plan, std::string_view home) {
    std::error_code error;
    if (!fs::is_directory(at / "Contents", error)) return;
    createFolders(at / "Contents" / "Resources");
    writeDetails(at, plan);
    signAndRegister(at, plan.bundleIdentifier, home);
}

void refreshHost(const fs::path& at, const fs::path& hostBinary, std::string_view identifier,
                 std::string_view home) {
    std::error_code error;
    if (!fs::is_directory(at / "Contents", error)) return;
    const fs::path executable = webHostExecutable(at);
    createFolders(executable.parent_path());
    placeHost(hostBinary, executable);
    signAndRegister(at, identifier, home);
}

std::optional<std::string> bundleIdentifier(const fs::path& at) {
    const auto info = readBundleInfo(at);
    if (!info) return std::nullopt;
    return info->string("CFBundleIdentifier");
}

void remove(const fs::path& bundlePath, std::string_view home) {
    std::error_code error;
    fs::remove_all(bundlePath, error);
    if (error) {
        throw HalywardError::failed("Halyward can't remove " + text::quoted(bundlePath.string()) +
                                    ": " + systemReason(error.value()) + ".");
    }
#if !defined(__APPLE__)
    removeDesktopEntries(home, bundlePath);
#else
    (void)home;
#endif
}

std::optional<std::string> signAndRegister(const fs::path& bundlePath, std::string_view identifier,
                                           std::string_view home) {
#if defined(__APPLE__)
    (void)home;
    const std::vector<std::string> codesign = codesignArguments(bundlePath.string(), identifier);
    run(codesign.front(), {codesign.begin() + 1, codesign.end()});
    run("/System/Library/Frameworks/CoreServices.framework/Frameworks/LaunchServices.framework/"
        "Support/lsregister",
        {"-f", bundlePath.string()});
    return std::nullopt;
#else
    (void)identifier;  // the entry takes the identifier from the bundle's own Info.plist
    return installDesktopEntry(home, bundlePath);
#endif
}

std::optional<int> run(const std::string& executable, const std::vector<std::string>& arguments) {
    posix_spawn_file_actions_t actions;
    if (posix_spawn_file_actions_init(&actions) != 0) return std::nullopt;
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, STDOUT_FILENO, STDERR_FILENO);

    std::vector<char*> argv;
    argv.push_back(const_cast<char*>(executable.c_str()));
    for (const std::string& argument : arguments)
        argv.push_back(const_cast<char*>(argument.c_str()));
    argv.push_back(nullptr);

    pid_t child = 0;
    const int started =
        posix_spawnp(&child, executable.c_str(), &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (started != 0) return std::nullopt;
    int status = 0;
    while (::waitpid(child, &status, 0) < 0) {
        if (errno != EINTR) return std::nullopt;
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

}  // namespace halyward::WebBundleWriter
