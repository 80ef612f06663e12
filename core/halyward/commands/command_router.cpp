#include "halyward/commands/command_router.hpp"

#include "halyward/base/error.hpp"
#include "halyward/commands/command_parser.hpp"
#include "halyward/commands/doctor.hpp"
#include "halyward/commands/help_text.hpp"
#include "halyward/commands/skills.hpp"
#include "halyward/config/config_file.hpp"
#include "halyward/config/config_json.hpp"
#include "halyward/hotkeys/effective_hotkeys.hpp"
#include "halyward/hotkeys/hotkey_parser.hpp"
#include "halyward/hotkeys/system_hotkeys.hpp"
#include "halyward/hotkeys/tile_keys.hpp"
#include "halyward/system/paths.hpp"
#include "halyward/text/text.hpp"
#include "halyward/tiling/tile_slot.hpp"

#include <algorithm>
#include <exception>
#include <filesystem>
#include <set>
#include <system_error>

#include <sys/stat.h>

namespace halyward {

namespace fs = std::filesystem;

namespace {

std::string quotedWord(std::string_view word) { return "“" + std::string(word) + "”"; }

JSONValue optionalString(const std::optional<std::string>& value) {
    return value ? JSONValue(*value) : JSONValue();
}

bool sameIgnoringCase(std::string_view a, std::string_view b) {
    return a == b || text::lowercased(a) == text::lowercased(b);
}

std::string tileNames() {
    std::string names;
    for (TileSlot slot : allTileSlots) {
        if (!names.empty()) names += ", ";
        names += rawValue(slot);
    }
    return names;
}

TileSlot requireTile(std::string_view tile) {
    if (auto slot = parseTileSlot(tile)) return *slot;
    throw HalywardError::usage(quotedWord(tile) + " is not a tile. Tiles: " + tileNames() + ".");
}

std::string canonicalChord(std::string_view chord) {
    return HotkeyParser::parse(chord).canonical();
}

/// The canonical form of chord text from the file, or none when it does not parse.
std::optional<std::string> canonicalOrNone(std::string_view chord) {
    try {
        return canonicalChord(chord);
    } catch (const HalywardError&) {
        return std::nullopt;
    }
}

/// A web app by name or slug only: removing an app names the app, not what it acts on.
std::optional<WebAppRecord> findWebAppByName(const HalywardConfig& config, std::string_view word) {
    std::optional<WebAppRecord> found = findWebApp(config, word);
    if (found && !sameIgnoringCase(found->spec.name, word) &&
        !sameIgnoringCase(found->slug, word)) {
        return std::nullopt;
    }
    return found;
}

/// Who holds a chord, in words the user recognises.
std::string describeHolder(const EffectiveHotkey& holder, const HalywardConfig& config) {
    if (text::startsWith(holder.source, "app:")) {
        const std::string_view slug = std::string_view(holder.source).substr(4);
        for (const WebAppRecord& app : config.apps) {
            if (app.slug == slug) return "the web app " + quotedWord(app.spec.name);
        }
        return "the web app " + quotedWord(slug);
    }
    if (holder.source == "hotkeys") return quotedWord(holder.bundleIdentifier);
    if (holder.bundleIdentifier == "halyward.tile-mode") return "Halyward's tile-mode hotkey";
    if (holder.bundleIdentifier == "halyward.agent") return "Halyward's agent hotkey";
    if (holder.bundleIdentifier == "halyward.new-app") return "Halyward's new-app hotkey";
    if (holder.bundleIdentifier == "halyward.layout") return "Halyward's layout hotkey";
    return "the tile chord " + quotedWord(TileKeys::title(holder.bundleIdentifier, holder.chord,
                                                          config.general.tileHotkeys));
}

/// A rule id made from what the rule acts on: lowercase letters, digits and dashes.
std::string ruleIdBase(std::string_view bundleIdentifier) {
    std::string id;
    for (char c : bundleIdentifier) {
        const unsigned char u = static_cast<unsigned char>(c);
        if ((u >= 'a' && u <= 'z') || (u >= '0' && u <= '9')) {
            id += c;
        } else if (u >= 'A' && u <= 'Z') {
            id += static_cast<char>(u - 'A' + 'a');
        } else if (!id.empty() && id.back() != '-') {
            id += '-';
        }
        if (id.size() >= 64) break;
    }
    while (!id.empty() && id.back() == '-') id.pop_back();
    return id.empty() ? "rule" : id;
}

JSONValue ruleJSON(const TileRule& rule) {
    return JSONObject{{"app", optionalString(rule.app)},
                      {"bundleIdentifier", rule.bundleIdentifier},
                      {"display", rule.display ? JSONValue(*rule.display) : JSONValue()},
                      {"id", rule.id},
                      {"tile", rule.tile},
                      {"title", optionalString(rule.titlePattern)}};
}

CommandOutput success(std::string message, JSONValue payload = {}) {
    return {ExitCode::ok, std::move(message), std::move(payload)};
}

/// Runs one command; every method may throw. Keeps the router's own interface small.
class Runner {
public:
    Runner(const CommandRouter& router, const Invocation& invocation,
           const std::vector<std::string>& arguments)
        : context_(router.context()),
          invocation_(invocation),
          arguments_(arguments),
          configPath_(router.configFile(invocation)) {}

    CommandOutput run() {
        const Command& command = invocation_.command;
        switch (command.kind()) {
            case Command::Kind::help: return success(std::string(HelpText::text()));
            case Command::Kind::version:
                return success(std::string("halyward ") + HalywardVersion::current,
                               JSONObject{{"version", HalywardVersion::current}});
            case Command::Kind::appAdd:
                throw HalywardError::unavailable(
                    "Making web apps is not available in this build yet.");
            case Command::Kind::appRemove: return appRemove(command.asAppRemove()->name);
            case Command::Kind::appList: return appList();
            case Command::Kind::hotkeySet: return hotkeySet(*command.asHotkeySet());
            case Command::Kind::hotkeyUnset: return hotkeyUnset(command.asHotkeyUnset()->chord);
            case Command::Kind::hotkeyList: return hotkeyList();
            case Command::Kind::ruleAdd: return ruleAdd(*command.asRuleAdd());
            case Command::Kind::ruleRemove: return ruleRemove(command.asRuleRemove()->target);
            case Command::Kind::layoutList: return layoutList();
            case Command::Kind::configShow: return configShow();
            case Command::Kind::doctor: return doctor();
            case Command::Kind::skillPaths: return skillPaths();
            case Command::Kind::skillInstall: return skillInstall(command.asSkillInstall()->folder);
            case Command::Kind::skillUninstall:
                return skillUninstall(command.asSkillUninstall()->folder);
            case Command::Kind::ping:
            case Command::Kind::tile:
            case Command::Kind::layoutSave:
            case Command::Kind::layoutApply:
            case Command::Kind::apply: return appCommand();
        }
        throw HalywardError::failed("Halyward does not know how to run this command.");
    }

private:
    bool exists(const std::string& path) const {
        if (context_.pathExists) return context_.pathExists(path);
        std::error_code error;
        return fs::exists(fs::symlink_status(path, error));
    }

    /// The configuration as it is on disk, written from the default template first when
    /// there is no file yet.
    ConfigFile load() const {
        requireConfigPath();
        struct stat status {};
        if (::lstat(configPath_.c_str(), &status) != 0 && errno == ENOENT) {
            return ConfigFile::update(configPath_, [](ConfigFile&) {});
        }
        return ConfigFile::load(configPath_);
    }

    void requireConfigPath() const {
        if (configPath_.empty()) throw HalywardError::usage("--config needs the path of a file.");
    }

    ConfigFile edit(const std::function<void(ConfigFile&)>& change) const {
        requireConfigPath();
        return ConfigFile::update(configPath_, change);
    }

    std::string appsDirectory() const { return HalywardPaths::appsDirectory(context_.home); }

    // -- Web apps ---------------------------------------------------------------------

    CommandOutput appList() const {
        const HalywardConfig config = load().decode();
        JSONArray list;
        std::string message;
        for (const WebAppRecord& app : config.apps) {
            list.push_back(appJSON(app));
            if (!message.empty()) message += '\n';
            message += app.spec.name + " (" + app.slug + ") " + app.spec.url;
            if (app.spec.hotkey && !app.spec.hotkey->empty())
                message += "  hotkey " + *app.spec.hotkey;
            if (app.spec.tile && !app.spec.tile->empty()) message += "  tile " + *app.spec.tile;
        }
        if (message.empty()) message = "No web apps yet.";
        return success(std::move(message), JSONValue(std::move(list)));
    }

    CommandOutput appRemove(const std::string& name) const {
        std::optional<WebAppRecord> removed;
        edit([&](ConfigFile& file) {
            removed = findWebAppByName(file.decode(), name);
            if (!removed) {
                throw HalywardError::notFound("No web app is called " + quotedWord(name) + ".");
            }
            file.removeApp(removed->slug);
        });

        std::string message = "Removed the web app " + quotedWord(removed->spec.name);
        if (auto folder = webAppBundleFolder(appsDirectory(), removed->spec.name)) {
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
                                            quotedWord(*folder) + ": " + error.message() + ".");
            }
            if (folder) message += " and its bundle " + quotedWord(*folder);
        }
        return success(message + ".", appJSON(*removed));
    }

    // -- Hotkeys ----------------------------------------------------------------------

    CommandOutput hotkeySet(const Command::HotkeySet& values) const {
        const HotkeyChord chord = HotkeyParser::parse(values.chord);
        const std::string canonical = chord.canonical();
        Target target;
        bool unchanged = false;
        std::optional<std::string> replaced;
        edit([&](ConfigFile& file) {
            const HalywardConfig config = file.decode();
            target = resolveTarget(values.target, config, context_.findApplication);
            for (const EffectiveHotkey& holder : effectiveHotkeys(config)) {
                if (holder.chord != canonical) continue;
                // The same app holding the chord through its web-app table or [hotkeys]
                // is no conflict: the chord already does what was asked.
                const bool same = (target.slug && holder.source == "app:" + *target.slug) ||
                                  (holder.source != "builtin" &&
                                   holder.bundleIdentifier == target.bundleIdentifier);
                if (same) {
                    unchanged = true;
                    return;
                }
                throw HalywardError::conflict(canonical + " is already used by " +
                                              describeHolder(holder, config) + ".");
            }
            if (target.slug) {
                std::optional<WebAppRecord> record;
                for (const WebAppRecord& app : config.apps) {
                    if (!record && app.slug == *target.slug) record = app;
                }
                if (record->spec.hotkey && !record->spec.hotkey->empty())
                    replaced = record->spec.hotkey;
                record->spec.hotkey = canonical;
                file.upsertApp(*record);
            } else {
                file.setNativeHotkey(canonical, target.bundleIdentifier);
            }
        });

        const std::optional<std::string> reservation = SystemHotkeys::reservation(chord);
        std::string message =
            unchanged
                ? canonical + " already brings up " + quotedWord(target.name) + "; nothing changed."
                : canonical + " now brings up " + quotedWord(target.name) + ".";
        if (replaced && !unchanged) message += " It replaces " + *replaced + ".";
        if (reservation) message += " Warning: " + *reservation + " It may not reach Halyward.";
        return success(std::move(message), JSONObject{{"bundleIdentifier", target.bundleIdentifier},
                                                      {"changed", !unchanged},
                                                      {"chord", canonical},
                                                      {"name", target.name},
                                                      {"warning", optionalString(reservation)}});
    }

    CommandOutput hotkeyUnset(const std::string& typed) const {
        const std::string canonical = canonicalChord(typed);
        JSONArray removed;
        std::vector<std::string> names;
        edit([&](ConfigFile& file) {
            const HalywardConfig config = file.decode();
            for (const WebAppRecord& app : config.apps) {
                if (!app.spec.hotkey || canonicalOrNone(*app.spec.hotkey) != canonical) continue;
                WebAppRecord record = app;
                record.spec.hotkey.reset();
                file.upsertApp(record);
                removed.emplace_back(app.spec.bundleIdentifier);
                names.push_back(quotedWord(app.spec.name));
            }
            for (const NativeHotkey& hotkey : config.hotkeys) {
                if (canonicalOrNone(hotkey.chord) != canonical) continue;
                file.removeNativeHotkey(hotkey.chord);
                removed.emplace_back(hotkey.bundleIdentifier);
                names.push_back(quotedWord(hotkey.bundleIdentifier));
            }
            if (!names.empty()) return;
            for (const EffectiveHotkey& holder : effectiveHotkeys(config)) {
                if (holder.chord == canonical) {
                    throw HalywardError::notFound(canonical + " is " +
                                                  describeHolder(holder, config) +
                                                  ", not an app hotkey. Change it in config.toml.");
                }
            }
            throw HalywardError::notFound("No app hotkey uses " + quotedWord(typed) + ".");
        });
        std::string message = "Removed " + canonical + " from ";
        for (std::size_t i = 0; i < names.size(); ++i) {
            if (i > 0) message += i + 1 == names.size() ? " and " : ", ";
            message += names[i];
        }
        return success(message + ".",
                       JSONObject{{"chord", canonical}, {"removed", std::move(removed)}});
    }

    CommandOutput hotkeyList() const {
        const HalywardConfig config = load().decode();
        JSONArray list;
        std::string message;
        for (const EffectiveHotkey& hotkey : effectiveHotkeys(config)) {
            list.emplace_back(JSONObject{{"bundleIdentifier", hotkey.bundleIdentifier},
                                         {"chord", hotkey.chord},
                                         {"source", hotkey.source}});
            if (!message.empty()) message += '\n';
            message += hotkey.chord + "  " + describeHolder(hotkey, config);
        }
        return success(std::move(message), JSONValue(std::move(list)));
    }

    // -- Rules ------------------------------------------------------------------------

    CommandOutput ruleAdd(const Command::RuleAdd& values) const {
        const TileSlot slot = requireTile(values.tile);
        std::optional<std::string> title = values.title;
        if (title && title->empty()) title.reset();
        if (title) {
            if (auto reason = titlePatternError(*title)) {
                throw HalywardError::usage("The title pattern " + quotedWord(*title) +
                                           " is not a valid regular expression: " + *reason + ".");
            }
        }
        TileRule rule;
        Target target;
        edit([&](ConfigFile& file) {
            const HalywardConfig config = file.decode();
            target = resolveTarget(values.target, config, context_.findApplication);
            std::set<std::string> ids;
            std::optional<std::string> existing;
            for (const TileRule& other : config.rules) {
                ids.insert(other.id);
                if (!existing && other.bundleIdentifier == target.bundleIdentifier &&
                    other.titlePattern.value_or("") == title.value_or("")) {
                    existing = other.id;
                }
            }
            rule.id = existing.value_or(ruleIdBase(target.bundleIdentifier));
            for (int n = 2; !existing && ids.count(rule.id) > 0; ++n) {
                rule.id = ruleIdBase(target.bundleIdentifier) + "-" + std::to_string(n);
            }
            rule.bundleIdentifier = target.bundleIdentifier;
            if (target.kind != Target::Kind::bundleIdentifier) rule.app = target.name;
            rule.titlePattern = title;
            rule.tile = std::string(rawValue(slot));
            rule.display = values.display;
            file.upsertRule(rule);
        });
        std::string message = "Windows of " + quotedWord(target.name);
        if (title) message += " titled like " + quotedWord(*title);
        message += " now open in " + rule.tile;
        if (rule.display) message += " on display " + std::to_string(*rule.display);
        return success(message + ".", ruleJSON(rule));
    }

    CommandOutput ruleRemove(const std::string& word) const {
        std::vector<std::string> removed;
        edit([&](ConfigFile& file) {
            const HalywardConfig config = file.decode();
            auto matches = [&](const TileRule& rule, std::string_view bundle) {
                return rule.id == word || rule.bundleIdentifier == word ||
                       (rule.app && sameIgnoringCase(*rule.app, word)) ||
                       (!bundle.empty() && rule.bundleIdentifier == bundle);
            };
            std::string bundle;
            try {
                bundle = resolveTarget(word, config, context_.findApplication).bundleIdentifier;
            } catch (const HalywardError&) {
                // A rule may outlive its app; the rule's own words still find it.
            }
            for (const TileRule& rule : config.rules) {
                if (matches(rule, bundle) &&
                    std::find(removed.begin(), removed.end(), rule.id) == removed.end()) {
                    removed.push_back(rule.id);
                    file.removeRule(rule.id);
                }
            }
            if (removed.empty()) {
                throw HalywardError::notFound("No rule tiles " + quotedWord(word) + ".");
            }
        });
        JSONArray ids(removed.begin(), removed.end());
        return success("Removed " + std::to_string(removed.size()) +
                           (removed.size() == 1 ? " rule" : " rules") + " for " + quotedWord(word) +
                           ".",
                       JSONObject{{"removed", std::move(ids)}});
    }

    // -- Layouts, configuration, doctor ------------------------------------------------

    CommandOutput layoutList() const {
        const HalywardConfig config = load().decode();
        JSONArray list;
        std::string message;
        for (const Layout& layout : config.layouts) {
            list.push_back(layoutJSON(layout.name, layout.assignments));
            if (!message.empty()) message += '\n';
            message += layout.name + ":";
            for (const LayoutAssignment& assignment : layout.assignments) {
                message += " " + assignment.target + " → " + assignment.tile + ";";
            }
            if (message.back() == ';') message.pop_back();
        }
        if (message.empty())
            message = "No saved layouts yet. Save one with halyward layout save <name>.";
        return success(std::move(message), JSONValue(std::move(list)));
    }

    CommandOutput configShow() const {
        const ConfigFile file = load();
        std::string message = file.text();
        while (!message.empty() && message.back() == '\n') message.pop_back();
        return success(std::move(message), configJSON(file.decode()));
    }

    CommandOutput doctor() const {
        std::optional<ConfigFile> file;
        try {
            file = load();
        } catch (const HalywardError& error) {
            return doctorOutput({doctorFinding(error)});
        }
        return doctorOutput(
            doctorFindings(file->decode(), appsDirectory(),
                           [this](const std::string& path) { return exists(path); }));
    }

    // -- Agent skills -----------------------------------------------------------------

    std::string skillFolder(const std::string& typed) const {
        return AgentSkills::folderPath(typed, context_.home, context_.workingDirectory);
    }

    CommandOutput skillPaths() const {
        const HalywardConfig config = load().decode();
        auto present = [this](const std::string& path) { return exists(path); };
        std::string message;
        for (const std::string& folder : config.agents.customFolders) {
            const std::string file = AgentSkills::skillFile(folder);
            if (!message.empty()) message += '\n';
            message += file + (present(file) ? "" : "  (missing)");
        }
        if (message.empty()) {
            message =
                "The Halyward skill is not installed anywhere yet. Install it into an "
                "agent's skills folder with halyward skill install <folder>.";
        }
        return success(std::move(message), AgentSkills::pathsJSON(config.agents, present));
    }

    CommandOutput skillInstall(const std::string& typed) const {
        const std::string folder = skillFolder(typed);
        bool changed = false;
        edit([&](ConfigFile& file) {
            AgentConfig agents = file.decode().agents;
            changed = AgentSkills::install(folder, agents);
            file.setAgents(agents);
        });
        const std::string skillFile = AgentSkills::skillFile(folder);
        return success(
            changed ? "Installed the Halyward skill as " + quotedWord(skillFile) + "."
                    : "The Halyward skill is already installed as " + quotedWord(skillFile) + ".",
            JSONObject{{"changed", changed}, {"file", skillFile}, {"folder", folder}});
    }

    CommandOutput skillUninstall(const std::string& typed) const {
        const std::string folder = skillFolder(typed);
        edit([&](ConfigFile& file) {
            AgentConfig agents = file.decode().agents;
            AgentSkills::uninstall(folder, agents);
            file.setAgents(agents);
        });
        return success("Removed the Halyward skill from " + quotedWord(folder) + ".",
                       JSONObject{{"folder", folder}});
    }

    // -- Commands the running app carries out ------------------------------------------

    CommandOutput appCommand() const {
        const Command& command = invocation_.command;
        if (const Command::Tile* tile = command.asTile()) requireTile(tile->slot);
        if (const Command::LayoutSave* save = command.asLayoutSave()) {
            if (text::trim(save->name).empty())
                throw HalywardError::usage("A layout needs a name.");
        }
        if (context_.sendToApp) return context_.sendToApp(arguments_, invocation_.timeout);

        // From here on this router runs inside the app.
        std::string_view what;
        switch (command.kind()) {
            case Command::Kind::ping:
                return success("pong", JSONObject{{"version", HalywardVersion::current}});
            case Command::Kind::tile: {
                const HalywardConfig config = load().decode();
                resolveTarget(command.asTile()->target, config, context_.findApplication);
                what = "Tiling windows";
                break;
            }
            case Command::Kind::layoutApply: {
                const HalywardConfig config = load().decode();
                const std::string& name = command.asLayoutApply()->name;
                const bool known = std::any_of(config.layouts.begin(), config.layouts.end(),
                                               [&](const Layout& l) { return l.name == name; });
                if (!known) {
                    throw HalywardError::notFound("No saved layout is called " + quotedWord(name) +
                                                  ".");
                }
                what = "Applying a layout";
                break;
            }
            case Command::Kind::layoutSave: what = "Saving a layout"; break;
            default: what = "Applying the configuration"; break;
        }
        if (context_.windowCommand) return context_.windowCommand(invocation_);
        throw HalywardError::unavailable(std::string(what) +
                                         " needs the window manager, which this build of "
                                         "Halyward does not have.");
    }

    const CommandContext& context_;
    const Invocation& invocation_;
    const std::vector<std::string>& arguments_;
    std::string configPath_;
};

CommandOutput failedOutput(std::string message) {
    if (message.empty()) message = "Halyward failed for a reason it could not name.";
    return {ExitCode::failed, std::move(message), JSONObject{{"code", "failed"}}};
}

}  // namespace

CommandRouter::CommandRouter(CommandContext context) : context_(std::move(context)) {}

std::string CommandRouter::configFile(const Invocation& invocation) const {
    if (invocation.configPath) return *invocation.configPath;
    if (!context_.configPath.empty()) return context_.configPath;
    return HalywardPaths::configFile(context_.home);
}

bool CommandRouter::wantsJSON(const std::vector<std::string>& arguments) {
    for (const std::string& argument : arguments) {
        if (argument == "--") return false;
        if (argument == "--json") return true;
    }
    return false;
}

CommandOutput CommandRouter::run(const std::vector<std::string>& arguments) const {
    Invocation invocation;
    try {
        invocation = CommandParser::parse(arguments);
    } catch (const HalywardError& error) {
        return CommandOutput::fromError(error);
    } catch (const std::exception& error) {
        return failedOutput(error.what());
    }
    return run(invocation, arguments);
}

CommandOutput CommandRouter::run(const Invocation& invocation,
                                 const std::vector<std::string>& arguments) const {
    try {
        if (invocation.command.removesSomething() && !invocation.yes) {
            const bool confirmed =
                context_.interactive && context_.confirm && context_.confirm(confirmQuestion);
            if (!confirmed) throw HalywardError::cancelled("Pass --yes to confirm.");
        }
        return dispatch(invocation, arguments);
    } catch (const HalywardError& error) {
        return CommandOutput::fromError(error);
    } catch (const std::exception& error) {
        return failedOutput(error.what());
    } catch (...) {
        return failedOutput({});
    }
}

CommandOutput CommandRouter::dispatch(const Invocation& invocation,
                                      const std::vector<std::string>& arguments) const {
    return Runner(*this, invocation, arguments).run();
}

}  // namespace halyward
