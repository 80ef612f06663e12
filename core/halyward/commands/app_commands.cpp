#include "halyward/commands/internal/command_run.hpp"

#include "halyward/base/error.hpp"
#include "halyward/commands/doctor.hpp"
#include "halyward/commands/targets.hpp"
#include "halyward/config/config_json.hpp"
#include "halyward/hotkeys/hotkey_parser.hpp"
#include "halyward/hotkeys/system_hotkeys.hpp"
#include "halyward/system/regular_file.hpp"
#include "halyward/system/unique_fd.hpp"
#include "halyward/text/text.hpp"
#include "halyward/web/address.hpp"
#include "halyward/webapps/bundle_info.hpp"
#include "halyward/webapps/bundle_plan.hpp"
#include "halyward/webapps/bundle_writer.hpp"
#include "halyward/webapps/desktop_entry.hpp"
#include "halyward/webapps/icns.hpp"
#include "halyward/webapps/site_fetcher.hpp"
#include "halyward/webapps/staging.hpp"

#include <sys/stat.h>

#include <cerrno>
#include <filesystem>
#include <system_error>

#if defined(__APPLE__)
#include <libproc.h>
#endif

// The web-app commands: `app add`, `app list` and `app remove`.

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

void showProgress(const CommandRun& run, std::string_view line) {
    if (run.context.progress && !run.invocation.json) run.context.progress(line);
}

// --- The host executable -------------------------------------------------------------

// The host that new bundles get and old ones are compared with; none when this
// installation has none.
std::optional<fs::path> shippedHost(const CommandRun& run) {
    std::error_code error;
    if (!run.context.webHost.empty()) {
        if (fs::is_regular_file(run.context.webHost, error)) return fs::path(run.context.webHost);
        return std::nullopt;
    }
    const auto self = runningExecutable();
    return self ? locateWebHost(*self) : std::nullopt;
}

fs::path requireHost(const CommandRun& run) {
    if (auto host = shippedHost(run)) return *host;
    throw HalywardError::unavailable(
        "Halyward can't make web apps: the web-app host " +
        std::string(WebAppBundlePlan::executableName()) +
        " is not installed beside halyward (nor in ../libexec/halyward).");
}

#if defined(__APPLE__)
bool processRunsExecutable(const fs::path& executable) {
    std::vector<pid_t> pids(4096);
    const int count = proc_listallpids(pids.data(), static_cast<int>(pids.size() * sizeof(pid_t)));
    char path[PROC_PIDPATHINFO_MAXSIZE];
    for (int i = 0; i < count; ++i) {
        if (proc_pidpath(pids[static_cast<std::size_t>(i)], path, sizeof path) > 0 &&
            executable == path) {
            return true;
        }
    }
    return false;
}
#else
// A running app is a process whose executable is the bundle's host. Processes of other
// users cannot be read and do not count: an app runs as the user who made it.
bool processRunsExecutable(const fs::path& executable) {
    std::error_code error;
    fs::directory_iterator processes("/proc", error);
    if (error) return false;
    const std::string wanted = executable.string();
    for (const fs::directory_entry& process : processes) {
        const std::string pid = process.path().filename().string();
        if (pid.empty() || pid.find_first_not_of("0123456789") != std::string::npos) continue;
        const fs::path running = fs::read_symlink(process.path() / "exe", error);
        if (error) continue;
        // A host replaced while it runs shows as "<path> (deleted)".
        const std::string text = running.string();
        if (text == wanted || text == wanted + " (deleted)") return true;
    }
    return false;
}
#endif

bool appIsRunning(const CommandRun& run, const fs::path& executable) {
    if (run.context.isRunning) return run.context.isRunning(executable.string());
    return processRunsExecutable(executable);
}

// What `app list` says about one app's bundle.
enum class BundleState { present, missing, hostOutOfDate };

struct BundleCheck {
    BundleState state = BundleState::missing;
    bool refreshed = false;
};

// Looks at the bundle of every app and replaces the host inside those whose host differs
// from the shipped one, unless the app is open: replacing a running program's file is safe
// on disk, but the app would run the old code until it restarts and then find a host that
// no longer matches what it was started with. Those wait for a later check.
std::vector<BundleCheck> checkBundles(const CommandRun& run, const HalywardConfig& config,
                                      std::string_view skipSlug = {}) {
    const std::optional<fs::path> host = shippedHost(run);
    // The shipped host's digest is taken once, and only when there is a bundle to compare.
    std::optional<std::optional<std::string>> shipped;
    const auto currentDigest = [&]() -> const std::optional<std::string>& {
        if (!shipped) shipped = host ? WebBundleWriter::digest(*host) : std::nullopt;
        return *shipped;
    };
    std::vector<BundleCheck> checks;
    for (const WebAppRecord& app : config.apps) {
        BundleCheck& check = checks.emplace_back();
        const auto folder = webAppBundleFolder(run.appsDirectory(), app.spec.name);
        std::error_code error;
        if (!folder || !fs::is_directory(fs::path(*folder) / "Contents", error)) continue;
        check.state = BundleState::present;
        // Without a shipped host there is nothing to compare with; the bundle is taken as
        // it is.
        if (app.slug == skipSlug || !currentDigest()) continue;
        const std::string& current = *currentDigest();
        const fs::path executable = webHostExecutable(*folder);
        const auto embedded = WebBundleWriter::digest(executable);
        HostRefresh refresh = hostRefresh(embedded, current, false);
        if (refresh == HostRefresh::current) continue;
        refresh = hostRefresh(embedded, current, appIsRunning(run, executable));
        check.state = BundleState::hostOutOfDate;
        if (refresh != HostRefresh::refresh) continue;
        const std::string identifier = app.spec.bundleIdentifier.empty()
                                           ? bundleIdentifier(app.slug)
                                           : app.spec.bundleIdentifier;
        try {
            WebBundleWriter::refreshHost(*folder, *host, identifier, run.context.home);
            check = {BundleState::present, true};
        } catch (const HalywardError&) {
            // A bundle that cannot be written (a read-only apps folder) keeps its old host
            // and is listed as out of date, which tells the user all there is to know.
        }
    }
    return checks;
}

std::string refreshedSentence(const std::vector<BundleCheck>& checks) {
    std::size_t refreshed = 0;
    for (const BundleCheck& check : checks) refreshed += check.refreshed ? 1 : 0;
    if (refreshed == 0) return {};
    return refreshed == 1
               ? " Brought the web-app host of 1 app up to date."
               : " Brought the web-app host of " + std::to_string(refreshed) + " apps up to date.";
}

// --- app add ---------------------------------------------------------------------------

// The host of the address, without a leading "www.", in its own script: the name of an
// app added without --name.
std::string defaultName(std::string_view url) {
    const auto parsed = parseAddress(url);
    std::string host = parsed ? displayHost(parsed->encoded_host()) : std::string();
    if (host.starts_with("www.") && host.size() > 4) host.erase(0, 4);
    return host;
}

void refuseTakenName(const HalywardConfig& config, std::string_view name, std::string_view slug) {
    for (const WebAppRecord& app : config.apps) {
        // Records written before names were normalised may hold a decomposed spelling.
        if (sameIgnoringCase(text::nfc(app.spec.name), name) || sameIgnoringCase(app.slug, slug)) {
            throw HalywardError::conflict("There is already a web app " +
                                          text::quoted(app.spec.name) + " (slug " + app.slug +
                                          "). Choose another --name, or remove that app first.");
        }
    }
}

// The bytes of the PNG file given with --icon, checked before anything is fetched or
// written.
std::vector<std::uint8_t> readIconFile(const CommandRun& run, const std::string& typed) {
    fs::path path(typed);
    if (path.is_relative()) path = fs::path(run.context.workingDirectory) / path;
    const std::string shown = text::quoted(typed);
    // Looked at first, without opening it, to say in the user's own words what is wrong;
    // the read below checks the kind of file again, on what it opened.
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0) {
        if (errno == ENOENT || errno == ENOTDIR) {
            throw HalywardError::notFound("There is no icon file " + shown + ".");
        }
        throw HalywardError::failed("Halyward can't read the icon " + shown + ": " +
                                    systemReason(errno) + ".");
    }
    if (S_ISDIR(status.st_mode)) {
        throw HalywardError::usage("The icon " + shown + " is a folder; --icon needs a PNG file.");
    }
    if (!S_ISREG(status.st_mode)) {
        throw HalywardError::usage("The icon " + shown + " is not a regular file.");
    }
    const std::size_t limit = run.context.fetchLimits.maxIconBytes;
    const std::optional<RegularFile> file = readRegularFile(path.string(), limit + 1);
    if (!file) throw HalywardError::notFound("There is no icon file " + shown + ".");
    if (file->bytes.empty()) throw HalywardError::usage("The icon " + shown + " is empty.");
    if (file->bytes.size() > limit) {
        throw HalywardError::usage("The icon " + shown + " is larger than " +
                                   std::to_string(limit / (1024 * 1024)) + " MiB.");
    }
    std::vector<std::uint8_t> bytes(file->bytes.begin(), file->bytes.end());
    if (!isPNG(bytes)) throw HalywardError::usage("The icon " + shown + " is not a PNG image.");
    return bytes;
}

// The text of --css or --js as it goes into config.toml: UTF-8 with no control
// characters but tab, line feed and carriage return, which a style sheet or script never
// needs and which other readers of the file refuse.
void checkUserText(std::string_view option, const std::optional<std::string>& value) {
    if (!value) return;
    if (!text::isValidUTF8(*value)) {
        throw HalywardError::usage("The text given with " + std::string(option) +
                                   " is not valid UTF-8.");
    }
    for (std::size_t pos = 0; pos < value->size();) {
        const text::Scalar scalar = text::decodeAt(*value, pos);
        if (text::isControl(scalar.value) && scalar.value != '\t' && scalar.value != '\n' &&
            scalar.value != '\r') {
            throw HalywardError::usage(
                "The text given with " + std::string(option) + " holds the control character " +
                text::codePoint(scalar.value) + "; only tabs and line breaks may stand in it.");
        }
        pos += scalar.length;
    }
}

std::string progressLine(std::string_view stage) {
    if (stage == "page") return "Fetching the page…";
    if (stage == "manifest") return "Fetching the web app manifest…";
    if (stage == "icon") return "Fetching an icon…";
    return std::string(stage);
}

}  // namespace

CommandOutput appAdd(const CommandRun& run, const Command::AppAdd& values) {
    // Everything is checked before anything is fetched or written.
    const std::string url = validatedWebURL(values.url);
    const std::string name = validatedAppName(values.name ? *values.name : defaultName(url));
    const std::string slug = slugify(name);
    const std::string identifier = bundleIdentifier(slug);
    std::optional<HotkeyChord> chord;
    if (values.hotkey) chord = HotkeyParser::parse(*values.hotkey);
    const std::optional<std::string> canonical =
        chord ? std::optional<std::string>(chord->canonical()) : std::nullopt;
    std::optional<std::string> tile;
    if (values.tile) tile = std::string(rawValue(requireTile(*values.tile)));
    checkUserText("--css", values.css);
    checkUserText("--js", values.js);
    std::optional<std::vector<std::uint8_t>> png;
    std::optional<std::string> iconPath;
    if (values.icon) {
        png = readIconFile(run, *values.icon);
        iconPath = fs::absolute(fs::path(run.context.workingDirectory) / *values.icon)
                       .lexically_normal()
                       .string();
    }
    const auto checkAgainst = [&](const HalywardConfig& config) {
        refuseTakenName(config, name, slug);
        if (canonical) claimChord(config, *canonical, slug, identifier);
    };
    checkAgainst(run.read().decode());
    const fs::path bundlePath = fs::path(run.appsDirectory()) / (name + ".app");
    WebBundleWriter::requireFreeBundlePath(bundlePath);
    const fs::path host = requireHost(run);
    removeStaleStagingFolders(run.appsDirectory());

    std::string iconNote;
    if (png) {
        iconNote = " with the icon " + text::quoted(*iconPath);
    } else {
        const SiteIcon site = fetchSiteIcon(
            url, [&](std::string_view stage) { showProgress(run, progressLine(stage)); },
            run.context.fetchLimits);
        png = site.png;
        iconNote = png ? " with the site's icon" : " without an icon: " + site.reason;
    }

    showProgress(run, "Writing the bundle…");
    const WebAppBundlePlan plan(name, slug, url, identifier, UUID::random(), run.appsDirectory());
    const std::optional<std::vector<std::uint8_t>> icns =
        png ? std::optional(ICNSWriter::wrappingPNG(*png)) : std::nullopt;
    const std::unique_ptr<StagingFolder> staged = WebBundleWriter::stage(plan, host, icns, png);

    WebAppRecord record;
    record.slug = slug;
    record.spec.url = url;
    record.spec.name = name;
    record.spec.bundleIdentifier = identifier;
    record.spec.hotkey = canonical;
    record.spec.tile = tile;
    record.spec.userCSS = values.css.value_or("");
    record.spec.userJS = values.js.value_or("");
    record.spec.iconPath = iconPath;
    HalywardConfig recorded;
    bool placed = false;
    try {
        // The name is claimed under the lock, and only then does the bundle go into place:
        // another add may have taken the name (or something else the path) while the site
        // was fetched, and then this one gives way without touching what is there.
        recorded = run.edit([&](ConfigFile& file) {
                          checkAgainst(file.decode());
                          WebBundleWriter::place(*staged, plan.bundlePath);
                          placed = true;
                          file.upsertApp(record);
                      })
                       .decode();
    } catch (...) {
        // No bundle without its record; and only the bundle this run placed goes.
        if (placed) WebBundleWriter::withdraw(*staged, plan.bundlePath, run.context.home);
        throw;
    }
    const std::optional<std::string> unlisted =
        WebBundleWriter::signAndRegister(plan.bundlePath, identifier, run.context.home);

    std::string message = "Made the web app " + text::quoted(name) + " for " + url + " in " +
                          text::quoted(plan.bundlePath.string()) + iconNote + ".";
    if (canonical) message += " " + *canonical + " brings it up.";
    if (tile) message += " It opens in the " + *tile + " tile.";
    if (unlisted) message += " It will not appear in the launcher: " + *unlisted + ".";
    if (chord) {
        if (auto reservation = SystemHotkeys::reservation(*chord)) {
            message += " Warning: " + *reservation + " It may not reach Halyward.";
        }
    }
    message += refreshedSentence(checkBundles(run, recorded, slug));
    return success(std::move(message), appJSON(record));
}

CommandOutput appList(const CommandRun& run) {
    const HalywardConfig config = run.load().decode();
    removeStaleStagingFolders(run.appsDirectory());
    const std::vector<BundleCheck> checks = checkBundles(run, config);
    JSONArray list;
    std::string message;
    for (std::size_t i = 0; i < config.apps.size(); ++i) {
        const WebAppRecord& app = config.apps[i];
        // The app object keeps its fixed shape for scripts; the bundle's state is in the
        // message, where a person reads it.
        list.push_back(appJSON(app));
        if (!message.empty()) message += '\n';
        message += app.spec.name + " (" + app.slug + ") " + app.spec.url;
        if (app.spec.hotkey && !app.spec.hotkey->empty()) message += "  hotkey " + *app.spec.hotkey;
        if (app.spec.tile && !app.spec.tile->empty()) message += "  tile " + *app.spec.tile;
        switch (checks[i].state) {
            case BundleState::present: break;
            case BundleState::missing: message += "  bundle missing"; break;
            case BundleState::hostOutOfDate:
                message += "  host out of date (the app is open)";
                break;
        }
    }
    if (message.empty()) message = "No web apps yet.";
    const std::string refreshed = refreshedSentence(checks);
    if (!refreshed.empty()) message += "\n" + refreshed.substr(1);
    return success(std::move(message), JSONValue(std::move(list)));
}

CommandOutput appRemove(const CommandRun& run, const std::string& name) {
    const auto found = findWebAppByName(run.read().decode(), name);
    if (!found) throw HalywardError::notFound("No web app is called " + text::quoted(name) + ".");
    removeStaleStagingFolders(run.appsDirectory());

    // The bundle is first moved aside under a hidden name, so that it can come back
    // whole should the configuration not be written; only then is it deleted. A link is
    // moved as a link, and anything but a folder or a link is not a bundle and stays.
    const std::optional<std::string> folder =
        webAppBundleFolder(run.appsDirectory(), found->spec.name);
    std::optional<fs::path> bundle;
    if (folder) {
        std::error_code error;
        const fs::file_status status = fs::symlink_status(*folder, error);
        if (fs::is_symlink(status) || fs::is_directory(status)) bundle = *folder;
    }
    std::optional<UUID> dataStore;
    if (bundle) {
        if (auto info = readBundleInfo(*bundle)) {
            if (auto text = info->string("HWDataStoreUUID")) dataStore = UUID::parse(*text);
        }
    }
    std::optional<fs::path> aside;
    // Held while it is set aside, so that no other run takes the hidden copy for one left
    // by a killed run and deletes it before this one knows whether it must come back.
    UniqueFd held;
    if (bundle) {
        held = holdFolder(*bundle);
        aside = bundle->parent_path() / (".halyward-" + UUID::random().uuidString() + ".tmp");
        std::error_code error;
        fs::rename(*bundle, *aside, error);
        if (error) {
            throw HalywardError::failed("Halyward can't remove the bundle " +
                                        text::quoted(bundle->string()) + ": " +
                                        systemReason(error.value()) + ". Nothing was removed.");
        }
    }

    std::optional<WebAppRecord> removed;
    try {
        run.edit([&](ConfigFile& file) {
            removed = findWebAppByName(file.decode(), name);
            if (!removed) {
                throw HalywardError::notFound("No web app is called " + text::quoted(name) + ".");
            }
            file.removeApp(removed->slug);
        });
    } catch (...) {
        if (aside) {
            std::error_code ignored;
            fs::rename(*aside, *bundle, ignored);
        }
        throw;
    }

    std::string message = "Removed the web app " + text::quoted(removed->spec.name);
#if !defined(__APPLE__)
    // Also when the bundle was already gone: its launcher entry would only start nothing.
    if (folder) removeDesktopEntries(run.context.home, *folder);
#endif
    if (bundle) {
        std::error_code error;
        fs::remove_all(*aside, error);
        message += ", its bundle " + text::quoted(bundle->string()) + " and its launcher entry";
        if (error) {
            message += " (a hidden copy of the bundle is left as " + text::quoted(aside->string()) +
                       ": " + systemReason(error.value()) + ")";
        }
    }
    message += ".";
#if !defined(__APPLE__)
    if (dataStore) {
        message += " Its website data stays in " +
                   text::quoted(websiteDataFolder(run.context.home, *dataStore).string()) +
                   "; delete that folder to remove it too.";
    } else {
        message += " Its website data, if any, stays in a folder of " +
                   text::quoted(websiteDataFolder(run.context.home).string()) + ".";
    }
#else
    (void)dataStore;  // WebKit keeps it in its own store, which `app add` never reuses
#endif
    return success(std::move(message), appJSON(*removed));
}

}  // namespace halyward::commands
