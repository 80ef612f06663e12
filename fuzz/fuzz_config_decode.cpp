// Decoding any text the parser accepts must not crash, must survive a render and re-parse,
// and what the edits write from a decoded configuration must decode back to it.

#include "halyward/base/error.hpp"
#include "halyward/config/config_file.hpp"

#include <cstddef>
#include <cstdint>
#include <set>
#include <string>
#include <string_view>

using namespace halyward;

namespace {

/// True when every key sits in the table of the header above it. Rendering writes only
/// the last part of a dotted key, so a document with dotted keys is expected to move
/// those keys into the enclosing table when it is written back.
bool hasOnlyPlainKeys(const TOMLDocument& document) {
    const TOMLPath* current = nullptr;
    static const TOMLPath root;
    for (const TOMLNode& node : document.nodes) {
        if (const TOMLHeader* header = node.asHeader()) current = &header->path;
        if (const TOMLKey* key = node.asKey()) {
            if (key->table != (current ? *current : root)) return false;
        }
    }
    return true;
}

std::optional<std::string> nonEmpty(const std::optional<std::string>& value) {
    return value && !value->empty() ? value : std::nullopt;
}

/// The configuration the edits should reproduce: repeated tables collapse into the first
/// record of their name, and empty optional texts are written as absent.
HalywardConfig asWritten(HalywardConfig config) {
    config.version = HalywardVersion::configSchema;
    std::set<std::string> seen;
    std::vector<WebAppRecord> apps;
    for (WebAppRecord& app : config.apps) {
        if (!seen.insert(app.slug).second) continue;
        app.spec.hotkey = nonEmpty(app.spec.hotkey);
        app.spec.tile = nonEmpty(app.spec.tile);
        app.spec.iconPath = nonEmpty(app.spec.iconPath);
        apps.push_back(app);
    }
    config.apps = apps;
    seen.clear();
    std::vector<TileRule> rules;
    for (TileRule& rule : config.rules) {
        if (!seen.insert(rule.id).second) continue;
        rule.app = nonEmpty(rule.app);
        rule.titlePattern = nonEmpty(rule.titlePattern);
        rules.push_back(rule);
    }
    config.rules = rules;
    seen.clear();
    std::vector<Layout> layouts;
    for (const Layout& layout : config.layouts) {
        if (seen.insert(layout.name).second) layouts.push_back(layout);
    }
    config.layouts = layouts;
    return config;
}

ConfigFile writtenFrom(const HalywardConfig& config) {
    ConfigFile file;
    file.setGeneral(config.general);
    for (const WebAppRecord& app : config.apps) file.upsertApp(app);
    for (const NativeHotkey& hotkey : config.hotkeys) {
        file.setNativeHotkey(hotkey.chord, hotkey.bundleIdentifier);
    }
    for (const TileRule& rule : config.rules) file.upsertRule(rule);
    for (const Layout& layout : config.layouts) file.upsertLayout(layout);
    file.setAgents(config.agents);
    return file;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    ConfigFile file;
    try {
        file = ConfigFile(input);
    } catch (const HalywardError& error) {
        if (error.code != "config" || error.message.rfind("Config line ", 0) != 0) abort();
        return 0;
    }
    const HalywardConfig config = file.decode();

    // The rendering must read back; a rendering that is already a fixed point must decode
    // the same whenever nothing in it was written with dotted keys.
    const std::string rendered = file.text();
    ConfigFile reread;
    try {
        reread = ConfigFile(rendered);
    } catch (const HalywardError&) {
        __builtin_trap();
    }
    if (reread.text() == rendered && hasOnlyPlainKeys(file.document) &&
        !(reread.decode() == config)) {
        __builtin_trap();
    }

    // Decoding what the edits wrote gives the records back.
    const HalywardConfig expected = asWritten(config);
    if (!(writtenFrom(expected).decode() == expected)) __builtin_trap();
    return 0;
}
