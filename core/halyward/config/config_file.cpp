#include "halyward/config/config_file.hpp"

#include "halyward/base/error.hpp"
#include "halyward/system/atomic_file.hpp"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <system_error>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace halyward {

namespace {

namespace fs = std::filesystem;

constexpr std::string_view defaultFileText =
    R"(# Halyward keeps your setup in this file and reloads it when you save.
# Comments stay in place when a value changes.

version = 1

[general]
launch_at_login = false
check_for_updates = true
animate_tiles = true
tile_gap = 0
tile_mode_hotkey = "ctrl+opt+space"
agent_hotkey_enabled = true
agent_hotkey = "ctrl+opt+a"
new_app_hotkey = "ctrl+opt+n"
layout_hotkey = "ctrl+opt+l"
cycle_windows = true
hide_on_repeat = false
# Set leader_key to "caps" for tap-then-a-letter hotkeys.
leader_key = ""
agent_command = []
terminal_bundle_id = "com.apple.Terminal"
auto_tile = false
onboarding_complete = false

# Chords that tile any time. focus_l is ctrl+opt+cmd+l because ctrl+opt+l cycles layouts.
# [ and ] are stored as leftbracket and rightbracket.
[tile_hotkeys]
focus_left = "ctrl+opt+left"
focus_down = "ctrl+opt+down"
focus_up = "ctrl+opt+up"
focus_right = "ctrl+opt+right"
focus_h = "ctrl+opt+h"
focus_j = "ctrl+opt+j"
focus_k = "ctrl+opt+k"
focus_l = "ctrl+opt+cmd+l"
move_left = "ctrl+opt+shift+left"
move_down = "ctrl+opt+shift+down"
move_up = "ctrl+opt+shift+up"
move_right = "ctrl+opt+shift+right"
move_h = "ctrl+opt+shift+h"
move_j = "ctrl+opt+shift+j"
move_k = "ctrl+opt+shift+k"
move_l = "ctrl+opt+shift+l"
layout_1 = "ctrl+opt+1"
layout_2 = "ctrl+opt+2"
layout_3 = "ctrl+opt+3"
layout_4 = "ctrl+opt+4"
layout_5 = "ctrl+opt+5"
layout_6 = "ctrl+opt+6"
fill = "ctrl+opt+f"
previous_display = "ctrl+opt+leftbracket"
next_display = "ctrl+opt+rightbracket"
exit_return = "ctrl+opt+return"
exit_escape = "ctrl+opt+escape"

[agents]
installed = []
custom_folders = []
)";

// ---------------------------------------------------------------------------------------
// Decoding
//
// The document keeps no index, and asking it for the pairs of each [apps.*] table in turn
// would walk the whole node list once per table. Instead one walk sorts every key node of
// the tables the model reads into its table's group; the groups then answer exactly what
// the per-table queries would (pairs in document order, headers once per occurrence).

using Entry = std::pair<std::string_view, const TOMLValue*>;

/// The pairs of one table with "the later value wins" applied: one entry per distinct
/// key, at the place of its first occurrence, holding its last value.
class TableView {
public:
    explicit TableView(const std::vector<Entry>& pairs) {
        // Most tables hold a handful of keys, where a linear scan beats building a hash
        // index; large tables get the index so a table of many keys stays linear.
        indexed_ = pairs.size() > smallTable;
        if (indexed_) index_.reserve(pairs.size());
        entries_.reserve(pairs.size());
        for (const Entry& entry : pairs) {
            if (auto at = find(entry.first)) {
                entries_[*at].second = entry.second;
            } else {
                if (indexed_) index_.emplace(entry.first, entries_.size());
                entries_.push_back(entry);
            }
        }
    }

    const std::vector<Entry>& entries() const { return entries_; }

    const TOMLValue* value(std::string_view key) const {
        auto at = find(key);
        return at ? entries_[*at].second : nullptr;
    }
    const std::string* string(std::string_view key) const {
        const TOMLValue* v = value(key);
        return v ? v->stringValue() : nullptr;
    }
    void readBool(std::string_view key, bool& into) const {
        const TOMLValue* v = value(key);
        if (const bool* b = v ? v->boolValue() : nullptr) into = *b;
    }
    void readString(std::string_view key, std::string& into) const {
        if (const std::string* s = string(key)) into = *s;
    }
    void readOptionalString(std::string_view key, std::optional<std::string>& into) const {
        if (const std::string* s = string(key)) into = *s;
    }
    /// The string elements of an array, in order; other elements are dropped.
    void readStrings(std::string_view key, std::vector<std::string>& into) const {
        const TOMLValue* v = value(key);
        const TOMLArray* array = v ? v->arrayValue() : nullptr;
        if (!array) return;
        into.clear();
        for (const TOMLValue& element : *array) {
            if (const std::string* s = element.stringValue()) into.push_back(*s);
        }
    }

private:
    static constexpr std::size_t smallTable = 16;

    std::optional<std::size_t> find(std::string_view key) const {
        if (indexed_) {
            auto found = index_.find(key);
            if (found == index_.end()) return std::nullopt;
            return found->second;
        }
        for (std::size_t i = 0; i < entries_.size(); ++i) {
            if (entries_[i].first == key) return i;
        }
        return std::nullopt;
    }

    bool indexed_ = false;
    std::vector<Entry> entries_;
    std::unordered_map<std::string_view, std::size_t> index_;
};

/// One family of named tables such as [apps.<slug>]: the names of its headers in order,
/// and the key nodes of every table of the family grouped by name.
struct Family {
    std::vector<std::string_view> headers;
    std::unordered_map<std::string_view, std::vector<Entry>> pairs;

    const std::vector<Entry>& pairsOf(std::string_view name) const {
        static const std::vector<Entry> none;
        auto found = pairs.find(name);
        return found == pairs.end() ? none : found->second;
    }
};

struct GroupedDocument {
    std::vector<Entry> root, general, tileHotkeys, hotkeys, agents;
    Family apps, rules, layouts;

    explicit GroupedDocument(const TOMLDocument& document) {
        for (const TOMLNode& node : document.nodes) {
            if (const TOMLKey* key = node.asKey()) {
                if (std::vector<Entry>* group = groupFor(key->table)) {
                    group->emplace_back(key->key, &key->value);
                }
            } else if (const TOMLHeader* header = node.asHeader()) {
                if (header->path.size() == 2) {
                    if (Family* family = familyFor(header->path[0])) {
                        family->headers.emplace_back(header->path[1]);
                    }
                }
            }
        }
    }

private:
    Family* familyFor(const std::string& name) {
        if (name == "apps") return &apps;
        if (name == "rules") return &rules;
        if (name == "layouts") return &layouts;
        return nullptr;
    }

    std::vector<Entry>* groupFor(const TOMLPath& table) {
        switch (table.size()) {
            case 0: return &root;
            case 1:
                if (table[0] == "general") return &general;
                if (table[0] == "tile_hotkeys") return &tileHotkeys;
                if (table[0] == "hotkeys") return &hotkeys;
                if (table[0] == "agents") return &agents;
                return nullptr;
            case 2:
                if (Family* family = familyFor(table[0])) return &family->pairs[table[1]];
                return nullptr;
            default: return nullptr;
        }
    }
};

GeneralConfig decodeGeneral(const TableView& general, const TableView& tileHotkeys) {
    GeneralConfig config;
    general.readBool("launch_at_login", config.launchAtLogin);
    general.readBool("animate_tiles", config.animateTiles);
    if (const TOMLValue* gap = general.value("tile_gap")) {
        if (const double* d = gap->doubleValue()) {
            config.tileGap = *d;
        } else if (gap->kind() == TOMLValue::Kind::integer) {
            config.tileGap = static_cast<double>(*gap->intValue());
        }
    }
    if (const std::string* style = general.string("window_style")) {
        config.windowChrome = parseWindowChrome(*style);
    }
    general.readString("tile_mode_hotkey", config.tileModeHotkey);
    general.readBool("agent_hotkey_enabled", config.agentHotkeyEnabled);
    general.readString("agent_hotkey", config.agentHotkey);
    general.readString("new_app_hotkey", config.newAppHotkey);
    general.readString("layout_hotkey", config.layoutHotkey);
    general.readBool("cycle_windows", config.cycleWindows);
    general.readBool("hide_on_repeat", config.hideOnRepeat);
    general.readString("leader_key", config.leaderKey);
    for (const auto& [action, value] : tileHotkeys.entries()) {
        if (const std::string* chord = value->stringValue()) {
            config.tileHotkeys.emplace(std::string(action), *chord);
        }
    }
    general.readStrings("agent_command", config.agentCommand);
    general.readString("terminal_bundle_id", config.terminalBundleIdentifier);
    general.readBool("auto_tile", config.autoTile);
    general.readBool("onboarding_complete", config.onboardingComplete);
    general.readBool("check_for_updates", config.checkForUpdates);
    return config;
}

std::optional<WebAppRecord> decodeApp(std::string_view slug, const TableView& table) {
    const std::string* url = table.string("url");
    if (!url) return std::nullopt;
    WebAppRecord record;
    record.slug = std::string(slug);
    WebAppSpec& spec = record.spec;
    spec.url = *url;
    spec.name = record.slug;
    table.readString("name", spec.name);
    spec.bundleIdentifier = "app.halyward.web." + record.slug;
    table.readString("bundle_id", spec.bundleIdentifier);
    table.readOptionalString("hotkey", spec.hotkey);
    table.readOptionalString("tile", spec.tile);
    table.readString("user_css", spec.userCSS);
    table.readString("user_js", spec.userJS);
    table.readOptionalString("icon", spec.iconPath);
    table.readBool("standard_user_agent", spec.standardUserAgent);
    return record;
}

std::optional<NativeHotkey> decodeHotkey(std::string_view chord, const TOMLValue& value) {
    if (const std::string* bundle = value.stringValue()) {
        return NativeHotkey{std::string(chord), *bundle};
    }
    if (const TOMLTable* table = value.tableValue()) {
        // An inline table is a list, so a repeated `bundle` follows the same rule as a
        // repeated key anywhere else: the later one wins.
        const std::string* bundle = nullptr;
        for (const auto& [key, entry] : *table) {
            if (key == "bundle") bundle = entry.stringValue();
        }
        if (bundle) return NativeHotkey{std::string(chord), *bundle};
    }
    return std::nullopt;
}

std::optional<TileRule> decodeRule(std::string_view id, const TableView& table) {
    const std::string* tile = table.string("tile");
    if (!tile) return std::nullopt;
    TileRule rule;
    rule.id = std::string(id);
    table.readString("bundle", rule.bundleIdentifier);
    table.readOptionalString("app", rule.app);
    table.readOptionalString("title", rule.titlePattern);
    rule.tile = *tile;
    if (const TOMLValue* display = table.value("display")) rule.display = display->intValue();
    return rule;
}

std::optional<Layout> decodeLayout(std::string_view name, const TableView& table) {
    Layout layout;
    layout.name = std::string(name);
    for (const auto& [target, value] : table.entries()) {
        if (const std::string* tile = value->stringValue()) {
            layout.assignments.push_back({std::string(target), *tile});
        }
    }
    return layout;
}

// ---------------------------------------------------------------------------------------
// Editing

bool hasKey(const TOMLDocument& document, const TOMLPath& table, std::string_view key) {
    for (const TOMLNode& node : document.nodes) {
        const TOMLKey* k = node.asKey();
        if (k && k->key == key && k->table == table) return true;
    }
    return false;
}

/// Sets several keys of one table with a single walk over the document. The result is
/// the one a `set` per key, in order, gives: existing keys change in place, the others
/// are inserted together, in order, where the first new key would go. Tables with many
/// keys (tile hotkeys, layouts) would otherwise cost one walk per key.
void setKeys(TOMLDocument& document, const TOMLPath& table,
             std::vector<std::pair<std::string, TOMLValue>> entries) {
    if (entries.empty()) return;
    std::unordered_map<std::string_view, std::size_t> wanted;
    for (std::size_t i = 0; i < entries.size(); ++i) wanted[entries[i].first] = i;

    // The first key node of each wanted key takes that key's last value, as successive
    // sets of the same key would leave it.
    std::unordered_set<std::string_view> placed;
    for (TOMLNode& node : document.nodes) {
        TOMLKey* key = node.asKey();
        if (!key || key->table != table) continue;
        auto found = wanted.find(key->key);
        if (found == wanted.end() || !placed.insert(found->first).second) continue;
        key->value = entries[found->second].second;
    }

    std::vector<TOMLNode> inserted;
    std::unordered_set<std::string_view> insertedKeys;
    for (std::size_t i = 0; i < entries.size(); ++i) {
        const std::string_view key = entries[i].first;
        if (placed.count(key) || !insertedKeys.insert(key).second) continue;
        const std::size_t last = wanted[key];
        inserted.push_back(TOMLNode::key(table, entries[i].first, entries[last].second, ""));
    }
    if (inserted.empty()) return;
    document.ensureTable(table);
    const std::size_t at = document.insertionIndex(table);
    document.nodes.insert(document.nodes.begin() + static_cast<std::ptrdiff_t>(at),
                          std::make_move_iterator(inserted.begin()),
                          std::make_move_iterator(inserted.end()));
}

/// Removes every key node of `table` whose key `keep` rejects, in one walk.
template <typename Keep>
void removeKeysExcept(TOMLDocument& document, const TOMLPath& table, Keep keep) {
    std::erase_if(document.nodes, [&](const TOMLNode& node) {
        const TOMLKey* key = node.asKey();
        return key && key->table == table && !keep(key->key);
    });
}

/// Removes every table one level below `parent` that has a header, as `removeTable` of
/// each path `headers(parent)` lists would, but in one walk.
void removeChildTables(TOMLDocument& document, const TOMLPath& parent) {
    auto isChild = [&](const TOMLPath& path) {
        return path.size() == parent.size() + 1 &&
               std::equal(parent.begin(), parent.end(), path.begin());
    };
    std::vector<TOMLNode> kept;
    kept.reserve(document.nodes.size());
    bool removing = false;
    for (TOMLNode& node : document.nodes) {
        if (const TOMLHeader* header = node.asHeader()) removing = isChild(header->path);
        if (!removing) kept.push_back(std::move(node));
    }
    document.nodes = std::move(kept);
}

TOMLValue stringArray(const std::vector<std::string>& strings) {
    TOMLArray array;
    array.reserve(strings.size());
    for (const std::string& s : strings) array.push_back(TOMLValue::string(s));
    return TOMLValue::array(std::move(array));
}

// ---------------------------------------------------------------------------------------
// Disk

std::string systemReason(int error) { return std::generic_category().message(error); }

std::string quoted(const fs::path& path) { return "“" + path.string() + "”"; }

/// Reads the whole file; nullopt when it does not exist.
std::optional<std::string> readConfigText(const fs::path& path, mode_t* mode) {
    // Non-blocking, so a FIFO in place of the file is refused below rather than waited on.
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (fd < 0) {
        if (errno == ENOENT) return std::nullopt;
        throw HalywardError::config("Halyward can't read the configuration file " + quoted(path) +
                                    ": " + systemReason(errno) + ".");
    }
    struct Closer {
        int fd;
        ~Closer() { ::close(fd); }
    } closer{fd};
    struct stat status {};
    if (::fstat(fd, &status) != 0) {
        throw HalywardError::config("Halyward can't read the configuration file " + quoted(path) +
                                    ": " + systemReason(errno) + ".");
    }
    if (S_ISDIR(status.st_mode)) {
        throw HalywardError::config("The configuration file " + quoted(path) +
                                    " is a folder, not a file.");
    }
    if (!S_ISREG(status.st_mode)) {
        throw HalywardError::config("The configuration file " + quoted(path) +
                                    " is not a regular file.");
    }
    if (mode) *mode = status.st_mode & 07777;
    std::string text;
    if (status.st_size > 0) text.reserve(static_cast<std::size_t>(status.st_size));
    char buffer[65536];
    for (;;) {
        const ssize_t count = ::read(fd, buffer, sizeof buffer);
        if (count < 0) {
            if (errno == EINTR) continue;
            throw HalywardError::config("Halyward can't read the configuration file " +
                                        quoted(path) + ": " + systemReason(errno) + ".");
        }
        if (count == 0) break;
        text.append(buffer, static_cast<std::size_t>(count));
    }
    return text;
}

/// Holds an exclusive flock on the lock file beside the configuration until destroyed.
class ConfigLock {
public:
    explicit ConfigLock(const fs::path& lockPath) {
        fd_ = ::open(lockPath.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644);
        if (fd_ < 0) {
            throw HalywardError::config("Halyward can't lock the configuration with " +
                                        quoted(lockPath) + ": " + systemReason(errno) + ".");
        }
        int result;
        do {
            result = ::flock(fd_, LOCK_EX);
        } while (result != 0 && errno == EINTR);
        if (result != 0) {
            const int error = errno;
            ::close(fd_);
            throw HalywardError::config("Halyward can't lock the configuration with " +
                                        quoted(lockPath) + ": " + systemReason(error) + ".");
        }
    }
    ConfigLock(const ConfigLock&) = delete;
    ConfigLock& operator=(const ConfigLock&) = delete;
    // Closing the descriptor releases the lock.
    ~ConfigLock() { ::close(fd_); }

private:
    int fd_ = -1;
};

}  // namespace

ConfigFile::ConfigFile(std::string_view text) : document(TOMLParser::parse(text)) {}

std::string_view ConfigFile::defaultText() { return defaultFileText; }

ConfigFile ConfigFile::makeDefault() {
    static const ConfigFile parsed = [] {
        try {
            return ConfigFile(defaultFileText);
        } catch (...) {
            // The template is part of the program; failing to read it is a build defect.
            std::fputs("halyward: the built-in default configuration does not parse\n", stderr);
            std::abort();
        }
    }();
    return parsed;
}

std::string ConfigFile::text() const { return renderTOML(document); }

HalywardConfig ConfigFile::decode() const {
    const GroupedDocument grouped(document);
    HalywardConfig config;

    const TableView root(grouped.root);
    if (const TOMLValue* version = root.value("version")) {
        if (auto number = version->intValue()) config.version = *number;
    }

    config.general = decodeGeneral(TableView(grouped.general), TableView(grouped.tileHotkeys));

    // A repeated header gives a repeated record. Each table is decoded once, however
    // often its header appears, so a file of many repeats stays linear.
    auto eachRecord = [](const Family& family, auto decodeTable, auto& into) {
        constexpr std::size_t noRecord = static_cast<std::size_t>(-1);
        std::unordered_map<std::string_view, std::size_t> decodedAt;
        into.reserve(family.headers.size());
        for (std::string_view name : family.headers) {
            auto [found, fresh] = decodedAt.try_emplace(name, noRecord);
            if (fresh) {
                if (auto record = decodeTable(name, TableView(family.pairsOf(name)))) {
                    found->second = into.size();
                    into.push_back(std::move(*record));
                }
            } else if (found->second != noRecord) {
                into.push_back(into[found->second]);
            }
        }
    };
    eachRecord(grouped.apps, decodeApp, config.apps);
    const TableView hotkeys(grouped.hotkeys);
    for (const auto& [chord, value] : hotkeys.entries()) {
        if (auto hotkey = decodeHotkey(chord, *value)) config.hotkeys.push_back(std::move(*hotkey));
    }
    eachRecord(grouped.rules, decodeRule, config.rules);
    eachRecord(grouped.layouts, decodeLayout, config.layouts);

    const TableView agents(grouped.agents);
    agents.readStrings("installed", config.agents.installed);
    agents.readStrings("custom_folders", config.agents.customFolders);
    return config;
}

void ConfigFile::setGeneral(const GeneralConfig& general) {
    document.set({}, "version", TOMLValue::integer(HalywardVersion::configSchema));

    const TOMLPath generalPath{"general"};
    auto boolean = [](bool value) { return TOMLValue::boolean(value); };
    auto string = [](const std::string& value) { return TOMLValue::string(value); };
    std::vector<std::pair<std::string, TOMLValue>> first{
        {"launch_at_login", boolean(general.launchAtLogin)},
        {"check_for_updates", boolean(general.checkForUpdates)},
        {"animate_tiles", boolean(general.animateTiles)},
        {"tile_gap", TOMLValue::number(general.tileGap)},
        {"window_style", TOMLValue::string(std::string(rawValue(general.windowChrome)))},
        {"tile_mode_hotkey", string(general.tileModeHotkey)},
        {"agent_hotkey_enabled", boolean(general.agentHotkeyEnabled)},
        {"agent_hotkey", string(general.agentHotkey)},
        {"new_app_hotkey", string(general.newAppHotkey)},
        {"layout_hotkey", string(general.layoutHotkey)},
        {"cycle_windows", boolean(general.cycleWindows)},
        {"hide_on_repeat", boolean(general.hideOnRepeat)},
        {"leader_key", string(general.leaderKey)},
    };
    setKeys(document, generalPath, std::move(first));

    const TOMLPath tilePath{"tile_hotkeys"};
    removeKeysExcept(document, tilePath, [&](const std::string& action) {
        return general.tileHotkeys.count(action) > 0;
    });
    std::vector<std::pair<std::string, TOMLValue>> chords;
    chords.reserve(general.tileHotkeys.size());
    for (const auto& [action, chord] : general.tileHotkeys)
        chords.emplace_back(action, string(chord));
    setKeys(document, tilePath, std::move(chords));

    std::vector<std::pair<std::string, TOMLValue>> last{
        {"agent_command", stringArray(general.agentCommand)},
        {"terminal_bundle_id", string(general.terminalBundleIdentifier)},
        {"auto_tile", boolean(general.autoTile)},
        {"onboarding_complete", boolean(general.onboardingComplete)},
    };
    setKeys(document, generalPath, std::move(last));
}

void ConfigFile::upsertApp(const WebAppRecord& record) {
    const TOMLPath table{"apps", record.slug};
    const WebAppSpec& spec = record.spec;
    document.set(table, "url", TOMLValue::string(spec.url));
    document.set(table, "name", TOMLValue::string(spec.name));
    document.set(table, "bundle_id", TOMLValue::string(spec.bundleIdentifier));

    auto setOrRemove = [&](std::string_view key, const std::optional<std::string>& value) {
        if (value && !value->empty()) {
            document.set(table, key, TOMLValue::string(*value));
        } else {
            document.remove(table, key);
        }
    };
    // Empty text is only written over a key the file already has, so a new app's table
    // stays free of keys that carry nothing.
    auto setIfUseful = [&](std::string_view key, const std::string& value) {
        if (!value.empty() || hasKey(document, table, key)) {
            document.set(table, key, TOMLValue::string(value));
        }
    };
    setOrRemove("hotkey", spec.hotkey);
    setOrRemove("tile", spec.tile);
    setIfUseful("user_css", spec.userCSS);
    setIfUseful("user_js", spec.userJS);
    setOrRemove("icon", spec.iconPath);
    if (spec.standardUserAgent || hasKey(document, table, "standard_user_agent")) {
        document.set(table, "standard_user_agent", TOMLValue::boolean(spec.standardUserAgent));
    }
}

void ConfigFile::removeApp(std::string_view slug) {
    document.removeTable({"apps", std::string(slug)});
}

void ConfigFile::setNativeHotkey(std::string_view chord, std::string_view bundleIdentifier) {
    document.set({"hotkeys"}, chord,
                 TOMLValue::table({{"bundle", TOMLValue::string(std::string(bundleIdentifier))}}));
}

void ConfigFile::removeNativeHotkey(std::string_view chord) { document.remove({"hotkeys"}, chord); }

void ConfigFile::upsertRule(const TileRule& rule) {
    const TOMLPath table{"rules", rule.id};
    if (!rule.bundleIdentifier.empty()) {
        document.set(table, "bundle", TOMLValue::string(rule.bundleIdentifier));
    }
    auto setOrRemove = [&](std::string_view key, const std::optional<std::string>& value) {
        if (value && !value->empty()) {
            document.set(table, key, TOMLValue::string(*value));
        } else {
            document.remove(table, key);
        }
    };
    setOrRemove("app", rule.app);
    setOrRemove("title", rule.titlePattern);
    document.set(table, "tile", TOMLValue::string(rule.tile));
    if (rule.display) {
        document.set(table, "display", TOMLValue::integer(*rule.display));
    } else {
        document.remove(table, "display");
    }
}

void ConfigFile::removeRule(std::string_view id) {
    document.removeTable({"rules", std::string(id)});
}

void ConfigFile::upsertLayout(const Layout& layout) {
    const TOMLPath table{"layouts", layout.name};
    // A layout without assignments is still a saved layout, so its table must exist.
    document.ensureTable(table);
    std::unordered_set<std::string_view> targets;
    for (const LayoutAssignment& assignment : layout.assignments) targets.insert(assignment.target);
    removeKeysExcept(document, table,
                     [&](const std::string& key) { return targets.count(key) > 0; });
    removeChildTables(document, table);

    std::vector<std::pair<std::string, TOMLValue>> entries;
    entries.reserve(layout.assignments.size());
    for (const LayoutAssignment& assignment : layout.assignments) {
        entries.emplace_back(assignment.target, TOMLValue::string(assignment.tile));
    }
    setKeys(document, table, std::move(entries));
}

void ConfigFile::setAgents(const AgentConfig& agents) {
    setKeys(document, {"agents"},
            {{"installed", stringArray(agents.installed)},
             {"custom_folders", stringArray(agents.customFolders)}});
}

ConfigFile ConfigFile::load(const fs::path& path) {
    std::optional<std::string> text = readConfigText(path, nullptr);
    if (!text) return makeDefault();
    return ConfigFile(*text);
}

ConfigFile ConfigFile::update(const fs::path& path, const std::function<void(ConfigFile&)>& edit) {
    // Following a link keeps the user's link in place and edits the file it points to.
    std::error_code error;
    fs::path target = path;
    if (fs::is_symlink(fs::symlink_status(path, error))) {
        fs::path resolved = fs::weakly_canonical(path, error);
        if (!error) target = resolved;
    }

    fs::path folder = target.parent_path();
    if (folder.empty()) folder = ".";
    error.clear();
    fs::create_directories(folder, error);
    if (error) {
        throw HalywardError::config("Halyward can't create the configuration folder " +
                                    quoted(folder) + ": " + systemReason(error.value()) + ".");
    }

    fs::path lockPath = path;
    lockPath += ".lock";
    const ConfigLock lock(lockPath);

    mode_t mode = 0644;
    std::optional<std::string> text = readConfigText(target, &mode);
    const bool existed = text.has_value();
    ConfigFile file = existed ? ConfigFile(*text) : makeDefault();

    edit(file);

    std::string rendered = file.text();
    if (!existed || rendered != *text) {
        AtomicFile::write(std::string_view(rendered), target.native(),
                          static_cast<std::uint16_t>(mode));
    }
    return file;
}

}  // namespace halyward
