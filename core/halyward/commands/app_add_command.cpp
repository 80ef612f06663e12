#include "halyward/commands/internal/command_run.hpp"

#include "halyward/base/error.hpp"
#include "halyward/config/config_json.hpp"
#include "halyward/hotkeys/hotkey_parser.hpp"
#include "halyward/system/regular_file.hpp"
#include "halyward/text/text.hpp"
#include "halyward/webapps/bundle_plan.hpp"
#include "halyward/webapps/bundle_writer.hpp"
#include "halyward/webapps/icns.hpp"
#include "halyward/webapps/site_fetcher.hpp"

#include <boost/url/parse.hpp>

#include <filesystem>

// `app add`: every argument is checked and the configuration read before anything is
// fetched or written; the bundle is written before the record, and taken away again when
// the record cannot be written, so there is never one without the other.

namespace halyward::commands {

namespace fs = std::filesystem;

namespace {

// The same cap the fetcher puts on a downloaded icon.
constexpr std::size_t kMaxIconBytes = 4 * 1024 * 1024;
// Longest name taken from a page; the user may type longer ones, up to the bundle's limit.
constexpr std::size_t kMaxDerivedNameBytes = 80;

fs::path webHost(const CommandRun& run) {
    if (!run.context.webHostExecutable.empty()) {
        std::error_code error;
        if (fs::is_regular_file(run.context.webHostExecutable, error)) {
            return run.context.webHostExecutable;
        }
    } else if (const auto running = runningExecutable()) {
        if (auto found = locateWebHost(*running)) return *found;
    }
    throw HalywardError::unavailable(
        "Halyward can't make web apps here: the web-app host HalywardWebHost is not installed "
        "beside halyward.");
}

std::vector<std::uint8_t> localIcon(const CommandRun& run, const std::string& typed) {
    fs::path path(typed);
    if (path.is_relative() && !run.context.workingDirectory.empty()) {
        path = fs::path(run.context.workingDirectory) / path;
    }
    const std::optional<RegularFile> file = readRegularFile(path.string(), kMaxIconBytes + 1);
    if (!file) throw HalywardError::usage("There is no icon file " + text::quoted(typed) + ".");
    if (file->bytes.size() > kMaxIconBytes) {
        throw HalywardError::usage("The icon " + text::quoted(typed) +
                                   " is larger than 4 MiB.");
    }
    std::vector<std::uint8_t> bytes(file->bytes.begin(), file->bytes.end());
    if (!isPNG(bytes)) {
        throw HalywardError::usage("The icon " + text::quoted(typed) + " is not a PNG image.");
    }
    return bytes;
}

// A name for an app made without --name: what the site calls itself, made fit to be a
// folder name; the host name when the site says nothing usable.
std::string derivedName(const SiteIcon& site, const std::string& url) {
    for (const std::optional<std::string>& candidate : {site.manifestName, site.pageTitle}) {
        if (!candidate) continue;
        std::string name;
        for (const char c : *candidate) {
            const auto byte = static_cast<unsigned char>(c);
            if (byte < 0x20 || byte == 0x7F) continue;
            name += c == '/' ? '-' : c;
        }
        std::string_view trimmed = text::trim(name);
        while (!trimmed.empty() && trimmed.front() == '.') trimmed.remove_prefix(1);
        std::string shortened(text::trim(trimmed));
        if (shortened.size() > kMaxDerivedNameBytes) {
            std::size_t end = 0;
            while (end < shortened.size()) {
                const std::size_t next = text::nextGrapheme(shortened, end);
                if (next > kMaxDerivedNameBytes) break;
                end = next;
            }
            shortened = std::string(text::trim(std::string_view(shortened).substr(0, end)));
        }
        try {
            return validatedAppName(shortened);
        } catch (const HalywardError&) {
        }
    }
    const auto parsed = boost::urls::parse_uri(url);
    return parsed ? std::string(parsed->host()) : std::string("Web App");
}

// Refuses a name or slug that an app of `config` already has, or a chord already taken.
void requireNew(const HalywardConfig& config, const std::string& name, const std::string& slug,
                const std::optional<std::string>& chord) {
    for (const WebAppRecord& app : config.apps) {
        if (sameIgnoringCase(app.spec.name, name) || app.slug == slug) {
            throw HalywardError::conflict(
                "A web app called " + text::quoted(app.spec.name) +
                " already exists. To change its address or icon, remove it with "
                "“halyward app remove " +
                app.spec.name + " --yes” and add it again.");
        }
    }
    if (chord) requireChordFree(config, *chord);
}

void report(const CommandRun& run, std::string_view step) {
    if (run.context.progress) run.context.progress(step);
}

}  // namespace

CommandOutput appAdd(const CommandRun& run, const Command::AppAdd& values) {
    const std::string url = validatedWebURL(values.url);
    std::optional<std::string> name;
    if (values.name) name = validatedAppName(*values.name);
    std::optional<std::string> chord;
    if (values.hotkey) chord = HotkeyParser::parse(*values.hotkey).canonical();
    std::optional<std::string> tile;
    if (values.tile) tile = std::string(rawValue(requireTile(*values.tile)));
    std::optional<std::vector<std::uint8_t>> icon;
    if (values.icon) icon = localIcon(run, *values.icon);
    const fs::path host = webHost(run);

    // A file that does not parse fails here, before anything is fetched or written.
    const HalywardConfig before = run.load().decode();
    if (name) requireNew(before, *name, slugify(*name), chord);

    SiteIcon site;
    if (!icon || !name) {
        site = fetchSiteIcon(url, [&](std::string_view step) { report(run, step); },
                             run.context.fetchLimits);
        if (!icon) icon = site.png;
    }
    if (!name) {
        name = derivedName(site, url);
        requireNew(before, *name, slugify(*name), chord);
    }
    const std::string slug = slugify(*name);

    report(run, "bundle");
    const WebAppBundlePlan plan(*name, slug, url, bundleIdentifier(slug), UUID::random(),
                                run.appsDirectory());
    std::optional<std::vector<std::uint8_t>> icns;
    if (icon) icns = ICNSWriter::wrappingPNG(*icon);
    WebBundleWriter::install(plan, host, icns, run.context.home, icon);

    WebAppRecord record;
    record.slug = slug;
    record.spec.url = url;
    record.spec.name = *name;
    record.spec.bundleIdentifier = plan.bundleIdentifier;
    record.spec.hotkey = chord;
    record.spec.tile = tile;
    record.spec.userCSS = values.css.value_or("");
    record.spec.userJS = values.js.value_or("");
    if (icon) record.spec.iconPath = (plan.bundlePath / "Contents/Resources/AppIcon.png").string();
    try {
        run.edit([&](ConfigFile& file) {
            // Another command may have added an app or taken the chord meanwhile.
            requireNew(file.decode(), *name, slug, chord);
            file.upsertApp(record);
        });
    } catch (...) {
        WebBundleWriter::remove(plan.bundlePath, run.context.home);
        throw;
    }

    std::string message = "Made the web app " + text::quoted(*name) + " in " +
                          text::quoted(plan.bundlePath.string()) + ".";
    if (values.icon) {
        message += " Its icon is " + text::quoted(*values.icon) + ".";
    } else if (icon) {
        message += " Its icon comes from " + site.iconURL + ".";
    } else {
        message += " It has no icon: " + site.reason + ".";
    }
    if (chord) message += " " + *chord + " brings it up.";
    return success(std::move(message), appJSON(record));
}

}  // namespace halyward::commands
