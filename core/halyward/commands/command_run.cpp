#include "halyward/commands/internal/command_run.hpp"

#include "halyward/base/error.hpp"
#include "halyward/system/paths.hpp"
#include "halyward/text/text.hpp"

#include <cerrno>
#include <filesystem>
#include <system_error>

#include <sys/stat.h>

namespace halyward::commands {

namespace fs = std::filesystem;

ConfigFile CommandRun::load() const {
    requireConfigPath();
    struct stat status {};
    // stat, not lstat: a link whose file is missing gets that file from the template too.
    if (::stat(configPath_.c_str(), &status) != 0 && errno == ENOENT) {
        return ConfigFile::update(configPath_, [](ConfigFile&) {});
    }
    return ConfigFile::load(configPath_);
}

ConfigFile CommandRun::read() const {
    requireConfigPath();
    return ConfigFile::load(configPath_);
}

ConfigFile CommandRun::edit(const std::function<void(ConfigFile&)>& change) const {
    requireConfigPath();
    return ConfigFile::update(configPath_, change);
}

void CommandRun::requireConfigPath() const {
    if (configPath_.empty()) throw HalywardError::usage("--config needs the path of a file.");
}

bool CommandRun::exists(const std::string& path) const {
    if (context.pathExists) return context.pathExists(path);
    std::error_code error;
    return fs::exists(fs::symlink_status(path, error));
}

PlatformPaths CommandRun::paths() const {
    if (!context.paths.socketFile.empty()) return context.paths;
    return platformPaths(hostPathConvention(), PathEnvironment{context.home, {}, {}, {}},
                         localSocketPathLimit());
}

std::string CommandRun::appsDirectory() const { return HalywardPaths::appsDirectory(context.home); }

CommandOutput success(std::string message, JSONValue payload) {
    return {ExitCode::ok, std::move(message), std::move(payload)};
}

JSONValue optionalString(const std::optional<std::string>& value) {
    return value ? JSONValue(*value) : JSONValue();
}

bool sameIgnoringCase(std::string_view a, std::string_view b) {
    return a == b || text::lowercased(a) == text::lowercased(b);
}

TileSlot requireTile(std::string_view tile) {
    if (auto slot = parseTileSlot(tile)) return *slot;
    std::string names;
    for (TileSlot each : allTileSlots) {
        if (!names.empty()) names += ", ";
        names += rawValue(each);
    }
    throw HalywardError::usage(text::quoted(tile) + " is not a tile. Tiles: " + names + ".");
}

}  // namespace halyward::commands
