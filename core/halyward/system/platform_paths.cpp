#include "halyward/system/platform_paths.hpp"

#include "halyward/system/paths.hpp"

#include <cstdlib>

#include <pwd.h>
#include <sys/un.h>
#include <unistd.h>

namespace halyward {

namespace {

// Paths are built as folder + "/…", so "/run/user/1000/" loses its trailing slash; the
// base-directory rules say a relative value is invalid and must be ignored.
std::string usableFolder(std::string_view value) {
    if (value.empty() || value.front() != '/') return {};
    std::string folder(value);
    while (folder.size() > 1 && folder.back() == '/') folder.pop_back();
    return folder == "/" ? std::string() : folder;
}

std::string variable(const char* name) {
    const char* value = std::getenv(name);
    return value != nullptr ? value : "";
}

}  // namespace

PlatformPaths platformPaths(PathConvention convention, const PathEnvironment& environment,
                            std::int64_t socketPathLimit) {
    const std::string& home = environment.home;
    PlatformPaths paths;
    paths.configDirectory = HalywardPaths::configDirectory(home);
    paths.configFile = HalywardPaths::configFile(home);
    if (convention == PathConvention::macOS) {
        paths.socketFile = HalywardPaths::resolvedSocketFile(home, socketPathLimit);
        paths.stateDirectory = HalywardPaths::applicationSupport(home);
        paths.updateStampFile = HalywardPaths::updateStampFile(home);
        paths.commandFile = HalywardPaths::commandFile(home);
        return paths;
    }
    paths.socketFile = HalywardPaths::fallbackSocketFile(home);
    if (const std::string runtime = usableFolder(environment.runtimeDirectory); !runtime.empty()) {
        std::string preferred = runtime + "/halyward/halyward.sock";
        if (socketPathLimit >= 0 && preferred.size() <= static_cast<std::uint64_t>(socketPathLimit))
            paths.socketFile = std::move(preferred);
    }
    std::string state = usableFolder(environment.stateHome);
    if (state.empty()) state = home + "/.local/state";
    paths.stateDirectory = state + "/halyward";
    paths.updateStampFile = paths.stateDirectory + "/update-check.json";
    paths.commandFile = paths.stateDirectory + "/agent.command";
    std::string configHome = usableFolder(environment.configHome);
    if (configHome.empty()) configHome = home + "/.config";
    paths.autostartFile = configHome + "/autostart/" + halywardAppID + ".desktop";
    return paths;
}

std::int64_t localSocketPathLimit() {
    return static_cast<std::int64_t>(sizeof(sockaddr_un::sun_path)) - 1;
}

PathEnvironment currentPathEnvironment() {
    PathEnvironment environment;
    environment.home = variable("HOME");
    if (environment.home.empty()) {
        if (const passwd* entry = ::getpwuid(::getuid()); entry != nullptr && entry->pw_dir)
            environment.home = entry->pw_dir;
    }
    // Paths are built as home + "/…", so "/" and "/home/ann/" lose their trailing slash.
    while (!environment.home.empty() && environment.home.back() == '/') environment.home.pop_back();
    environment.runtimeDirectory = variable("XDG_RUNTIME_DIR");
    environment.stateHome = variable("XDG_STATE_HOME");
    environment.configHome = variable("XDG_CONFIG_HOME");
    return environment;
}

PlatformPaths currentPlatformPaths() {
    return platformPaths(hostPathConvention(), currentPathEnvironment(), localSocketPathLimit());
}

}  // namespace halyward
