#include "halyward/commands/internal/command_run.hpp"

#include "halyward/base/error.hpp"
#include "halyward/commands/doctor.hpp"
#include "halyward/commands/targets.hpp"
#include "halyward/text/text.hpp"

#include <algorithm>
#include <set>

// The rule commands: `rule add` and `rule remove`.

namespace halyward::commands {

namespace {

// A rule id made from what the rule acts on: lowercase letters, digits and dashes.
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

}  // namespace

CommandOutput ruleAdd(const CommandRun& run, const Command::RuleAdd& values) {
    const TileSlot slot = requireTile(values.tile);
    std::optional<std::string> title = values.title;
    if (title && title->empty()) title.reset();
    if (title) {
        if (auto reason = titlePatternError(*title)) {
            throw HalywardError::usage("The title pattern " + text::quoted(*title) +
                                       " is not a valid regular expression: " + *reason + ".");
        }
    }
    TileRule rule;
    Target target;
    run.edit([&](ConfigFile& file) {
        const HalywardConfig config = file.decode();
        target = resolveTarget(values.target, config, run.context.findApplication);
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
    std::string message = "Windows of " + text::quoted(target.name);
    if (title) message += " titled like " + text::quoted(*title);
    message += " now open in " + rule.tile;
    if (rule.display) message += " on display " + std::to_string(*rule.display);
    return success(message + ".", ruleJSON(rule));
}

CommandOutput ruleRemove(const CommandRun& run, const std::string& word) {
    std::vector<std::string> removed;
    run.edit([&](ConfigFile& file) {
        const HalywardConfig config = file.decode();
        auto matches = [&](const TileRule& rule, std::string_view bundle) {
            return rule.id == word || rule.bundleIdentifier == word ||
                   (rule.app && sameIgnoringCase(*rule.app, word)) ||
                   (!bundle.empty() && rule.bundleIdentifier == bundle);
        };
        std::string bundle;
        try {
            bundle = resolveTarget(word, config, run.context.findApplication).bundleIdentifier;
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
            throw HalywardError::notFound("No rule tiles " + text::quoted(word) + ".");
        }
    });
    JSONArray ids(removed.begin(), removed.end());
    return success("Removed " + std::to_string(removed.size()) +
                       (removed.size() == 1 ? " rule" : " rules") + " for " + text::quoted(word) +
                       ".",
                   JSONObject{{"removed", std::move(ids)}});
}

}  // namespace halyward::commands
