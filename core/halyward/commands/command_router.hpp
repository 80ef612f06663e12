#pragma once
/// Runs one parsed command line against the configuration file, the hotkey grammar, the
/// tile names and the running app, and turns whatever happens into one CommandOutput.
/// The same router runs in the command-line tool and, behind the control socket, in the
/// running app; only the CommandContext differs.

#include "halyward/base/command_output.hpp"
#include "halyward/commands/invocation.hpp"
#include "halyward/commands/targets.hpp"
#include "halyward/system/platform_paths.hpp"
#include "halyward/webapps/site_fetcher.hpp"

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace halyward {

/// Everything a command may touch outside its own arguments. Tests fill it with fakes.
struct CommandContext {
    /// The user's home folder, without a trailing slash: the root of every default path.
    std::string home;
    /// The configuration file when the invocation has no `--config`; empty means
    /// `HalywardPaths::configFile(home)`.
    std::string configPath;
    /// The socket and state paths in use, shown by `doctor`; an empty socket path means
    /// those of this platform for `home` with no XDG variables set.
    PlatformPaths paths;
    /// Where relative folders typed by the user start.
    std::string workingDirectory;
    /// Whether `confirm` may be asked; false when nobody is there to answer.
    bool interactive = false;
    /// Asks the user a yes/no question; true for yes.
    std::function<bool(std::string_view question)> confirm;
    /// Sends the argument list to the running app and returns its output, waiting at most
    /// `timeoutSeconds`. Set in the command-line tool; absent in the app itself, which runs
    /// such commands on its own.
    std::function<CommandOutput(const std::vector<std::string>& arguments, double timeoutSeconds)>
        sendToApp;
    /// In the running app: carries out `tile`, `layout save`, `layout apply` and `apply`
    /// (already checked). Absent when this build has no window manager.
    std::function<CommandOutput(const Invocation& invocation)> windowCommand;
    /// In the running app: the chords it could not take, as {"chord", "reason"} objects,
    /// which `ping` answers with so that `doctor` can tell.
    std::function<JSONArray()> grabFailures;
    /// Whether a file or folder exists at the path; absent means std::filesystem.
    std::function<bool(const std::string& path)> pathExists;
    /// Finds an installed application by name; absent means names resolve only to web
    /// apps and bundle identifiers.
    ApplicationLookup findApplication;
    /// The web-app host executable that new bundles get a copy of; empty means the one
    /// that ships beside the running program (`locateWebHost(runningExecutable())`).
    std::string webHost;
    /// The limits of the page, manifest and icon fetches of `app add`.
    FetchLimits fetchLimits;
    /// Shows one progress line of a slow command ("Fetching the page…"). Absent shows
    /// nothing; never called for a command run with `--json`.
    std::function<void(std::string_view line)> progress;
    /// Whether a process runs the executable at the path (a web app is open); absent means
    /// the system's list of processes is asked.
    std::function<bool(const std::string& executable)> isRunning;
};

/// Parses and runs commands. Never throws: a HalywardError becomes its own output, and
/// anything else thrown becomes exit status 8 with {"code":"failed"}.
class CommandRouter {
public:
    explicit CommandRouter(CommandContext context);

    /// Parses `arguments` (without the program name) and runs them.
    CommandOutput run(const std::vector<std::string>& arguments) const;

    /// Runs a parsed invocation. `arguments` is the list it was parsed from, sent unchanged
    /// when the command goes to the running app. Removals run only with `--yes` or a yes
    /// from `confirm` when `interactive`; otherwise the output is cancelled("Pass --yes to
    /// confirm.") and nothing has changed.
    CommandOutput run(const Invocation& invocation,
                      const std::vector<std::string>& arguments) const;

    /// The configuration file the invocation works on.
    std::string configFile(const Invocation& invocation) const;

    /// Whether output for `arguments` should be JSON even when they do not parse: true
    /// when "--json" stands before any "--" end marker.
    static bool wantsJSON(const std::vector<std::string>& arguments);

    /// The question asked before a removal.
    static constexpr std::string_view confirmQuestion = "This removes something. Continue?";

    const CommandContext& context() const { return context_; }

private:
    CommandOutput dispatch(const Invocation& invocation,
                           const std::vector<std::string>& arguments) const;

    CommandContext context_;
};

}  // namespace halyward
