#include "halyward/commands/internal/command_run.hpp"

#include "halyward/base/error.hpp"
#include "halyward/commands/doctor.hpp"
#include "halyward/commands/targets.hpp"
#include "halyward/config/config_json.hpp"
#include "halyward/text/text.hpp"
#include "halyward/webapps/bundle_info.hpp"
#include "halyward/webapps/bundle_plan.hpp"
#include "halyward/webapps/bundle_writer.hpp"

#include <filesystem>
#include <system_error>

// The web-app commands: `app list` and `app remove`.

namespace halyward::commands {

namespace fs = std::filesystem;

namespace {

// A web app by name or slug only: removing an app names the app, not what it acts on.
std::optional<WebAppRecord> findWebAppByName(const HalywardConfig& config, std::string_view word) {
    std::optional<WebAppRecord> found = findWebApp(config, word);
    if (found && !sameIgnoringCase(found->spec.name, word) &&
        !sameIgnoringCase(found->slug, word)) {
        return std::nullopt;
    }
    return found;
}

// Whether a process of the user runs `executable`: the app is open, and its host must not
// be replaced under it.
bool isRunning(const fs::path& executable) {
    std::error_code error;
    const fs::path wanted = fs::weakly_canonical(executable, error);
    for (fs::directory_iterator it("/proc", error), end; !error && it != end; it.increment(error)) {
        std::error_code linkError;
        const fs::path exe = fs::read_symlink(it->path() / "exe", linkError);
        if (!linkError && exe == wanted) return true;
    }
    return false;
}

// The state of an app's bundle, in words: "" when it is present and current. An
// out-of-date host is replaced here when the app is not running.
std::string bundleState(const CommandRun& run, const WebAppRecord& app,
                        const std::optional<std::string>& hostDigest,
                        const std::optional<fs::path>& host) {
    const std::optional<std::string> folder = webAppBundleFolder(run.appsDirectory(), app.spec.name);
    std::error_code error;
    if (!folder || !fs::is_directory(*folder, error)) return "bundle missing";
    if (!hostDigest || !host) return "";
    const fs::path executable = webHostExecutable(*folder);
    switch (hostRefresh(WebBundleWriter::digest(executable), *hostDigest, isRunning(executable))) {
        case HostRefresh::current: return "";
        case HostRefresh::waitUntilQuit: return "host out of date; updated once the app quits";
        case HostRefresh::refresh:
            try {
                WebBundleWriter::refreshHost(*folder, *host, app.spec.bundleIdentifier,
                                             run.context.home);
                return "host updated";
            } catch (const HalywardError&) {
                return "host out of date";
            }
    }
    return "";
}

}  // namespace

CommandOutput appList(const CommandRun& run) {
    const HalywardConfig config = run.load().decode();
    std::optional<fs::path> host;
    if (!run.context.webHostExecutable.empty()) {
        host = fs::path(run.context.webHostExecutable);
    } else if (const auto running = runningExecutable()) {
        host = locateWebHost(*running);
    }
    const std::optional<std::string> hostDigest =
        host ? WebBundleWriter::digest(*host) : std::nullopt;
    JSONArray list;
    std::string message;
    for (const WebAppRecord& app : config.apps) {
        list.push_back(appJSON(app));
        if (!message.empty()) message += '\n';
        message += app.spec.name + " (" + app.slug + ") " + app.spec.url;
        const std::string state = bundleState(run, app, hostDigest, host);
        if (!state.empty()) message += "  [" + state + "]";
        if (app.spec.hotkey && !app.spec.hotkey->empty()) message += "  hotkey " + *app.spec.hotkey;
        if (app.spec.tile && !app.spec.tile->empty()) message += "  tile " + *app.spec.tile;
    }
    if (message.empty()) message = "No web apps yet.";
    return success(std::move(message), JSONValue(std::move(list)));
}

CommandOutput appRemove(const CommandRun& run, const std::string& name) {
    std::optional<WebAppRecord> removed;
    run.edit([&](ConfigFile& file) {
        removed = findWebAppByName(file.decode(), name);
        if (!removed) {
            throw HalywardError::notFound("No web app is called " + text::quoted(name) + ".");
        }
        file.removeApp(removed->slug);
    });

    std::string message = "Removed the web app " + text::quoted(removed->spec.name);
    if (auto folder = webAppBundleFolder(run.appsDirectory(), removed->spec.name)) {
        std::error_code error;
        const fs::file_status status = fs::symlink_status(*folder, error);
        // Only a folder or a link can be the app's bundle; a stray file is not ours.
        if (fs::is_directory(status) || fs::is_symlink(status)) {
            std::optional<std::string> dataStore;
            if (const auto info = readBundleInfo(*folder)) dataStore = info->string("HWDataStoreUUID");
            try {
                WebBundleWriter::remove(*folder, run.context.home);
            } catch (const HalywardError& failure) {
                throw HalywardError::failed(message + " from the configuration, but " +
                                            failure.message);
            }
            message += " and its bundle " + text::quoted(*folder);
            if (dataStore) {
                message += ". Its website data (cookies, logins) stays in " +
                           text::quoted(run.context.home + "/.local/share/halyward/website-data/" +
                                        *dataStore) +
                           "; delete that folder to forget it";
            }
        }
    }
    return success(message + ".", appJSON(*removed));
}

}  // namespace halyward::commands
