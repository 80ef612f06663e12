#include "halyward/commands/internal/command_run.hpp"

#include "halyward/base/error.hpp"
#include "halyward/commands/doctor.hpp"
#include "halyward/commands/targets.hpp"
#include "halyward/config/config_json.hpp"
#include "halyward/text/text.hpp"

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

}  // namespace

CommandOutput appList(const CommandRun& run) {
    const HalywardConfig config = run.load().decode();
    JSONArray list;
    std::string message;
    for (const WebAppRecord& app : config.apps) {
        list.push_back(appJSON(app));
        if (!message.empty()) message += '\n';
        message += app.spec.name + " (" + app.slug + ") " + app.spec.url;
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
        error.clear();
        // A link is removed as a link: what it points to was never ours. Anything but a
        // folder or a link (nothing, or a stray file) is not a bundle and stays.
        if (fs::is_symlink(status)) {
            fs::remove(*folder, error);
        } else if (fs::is_directory(status)) {
            fs::remove_all(*folder, error);
        } else {
            folder.reset();
        }
        if (error) {
            throw HalywardError::failed(message +
                                        " from the configuration, but Halyward can't "
                                        "remove its bundle " +
                                        text::quoted(*folder) + ": " + error.message() + ".");
        }
        if (folder) message += " and its bundle " + text::quoted(*folder);
    }
    return success(message + ".", appJSON(*removed));
}

}  // namespace halyward::commands
