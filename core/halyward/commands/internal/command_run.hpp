#pragma once
// What every command of the router shares: the invocation being run, the context it runs
// in, the configuration file it works on, and the small helpers that shape an answer.
// Internal to the commands module; the router is its only way in.

#include "halyward/base/command_output.hpp"
#include "halyward/base/json.hpp"
#include "halyward/commands/command_router.hpp"
#include "halyward/config/config_file.hpp"
#include "halyward/tiling/tile_slot.hpp"

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace halyward::commands {

// One run of one command. Every method may throw; the router turns what is thrown into
// the command's output.
class CommandRun {
public:
    CommandRun(const CommandContext& context, const Invocation& invocation,
               const std::vector<std::string>& arguments, std::string configPath)
        : context(context),
          invocation(invocation),
          arguments(arguments),
          configPath_(std::move(configPath)) {}

    // The configuration as it is on disk, written from the default template first when
    // there is no file yet.
    ConfigFile load() const;
    // The configuration as it is on disk without writing anything: a missing file reads
    // as the default one. Throws the parser's error for a file that does not parse.
    ConfigFile read() const;
    // A locked read-modify-write of the configuration; see ConfigFile::update.
    ConfigFile edit(const std::function<void(ConfigFile&)>& change) const;
    // Whether something exists at `path`, through the context's probe when it has one.
    bool exists(const std::string& path) const;
    // The configuration file's path, as --config or the home folder gives it.
    const std::string& configPath() const { return configPath_; }
    // The socket and state paths in use: the context's, or this platform's for its home.
    PlatformPaths paths() const;
    // The folder web-app bundles are made in.
    std::string appsDirectory() const;

    const CommandContext& context;
    const Invocation& invocation;
    const std::vector<std::string>& arguments;

private:
    void requireConfigPath() const;

    std::string configPath_;
};

CommandOutput success(std::string message, JSONValue payload = {});
JSONValue optionalString(const std::optional<std::string>& value);
bool sameIgnoringCase(std::string_view a, std::string_view b);
// The tile called `tile`; a usage error listing every tile otherwise.
TileSlot requireTile(std::string_view tile);

// Whether the chord `canonical` may go to the app with `slug` (a web app's, when it is
// one) and `bundleIdentifier`: true when that app already holds it, false when nothing
// does. Throws HalywardError::conflict naming the holder when anything else holds it.
// `hotkey set` and `app add --hotkey` follow these same rules.
bool claimChord(const HalywardConfig& config, std::string_view canonical,
                const std::optional<std::string>& slug, std::string_view bundleIdentifier);

// One function per command, grouped by family in the files named after them.
CommandOutput appAdd(const CommandRun& run, const Command::AppAdd& values);
CommandOutput appList(const CommandRun& run);
CommandOutput appRemove(const CommandRun& run, const std::string& name);

CommandOutput hotkeySet(const CommandRun& run, const Command::HotkeySet& values);
CommandOutput hotkeyUnset(const CommandRun& run, const std::string& typed);
CommandOutput hotkeyList(const CommandRun& run);

CommandOutput ruleAdd(const CommandRun& run, const Command::RuleAdd& values);
CommandOutput ruleRemove(const CommandRun& run, const std::string& word);

CommandOutput layoutList(const CommandRun& run);
CommandOutput configShow(const CommandRun& run);
CommandOutput doctor(const CommandRun& run);

CommandOutput skillPaths(const CommandRun& run);
CommandOutput skillInstall(const CommandRun& run, const std::string& typed);
CommandOutput skillUninstall(const CommandRun& run, const std::string& typed);

// `ping`, `tile`, `layout save`, `layout apply` and `apply`: checked here, carried out by
// the running app.
CommandOutput windowCommand(const CommandRun& run);

}  // namespace halyward::commands
