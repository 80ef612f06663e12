#include "halyward/config/config_file.hpp"

#include <optional>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

namespace halyward {

namespace {

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

}  // namespace

ConfigFile::ConfigFile(std::string_view text) : document(TOMLParser::parse(text)) {}

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

}  // namespace halyward
