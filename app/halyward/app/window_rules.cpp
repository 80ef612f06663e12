#include "halyward/app/window_rules.hpp"

#include "halyward/app/desktop.hpp"
#include "halyward/text/text.hpp"

#include <algorithm>

namespace halyward::detail {

WindowRules::WindowRules(const HalywardConfig& config, const ApplicationLookup& lookup) {
    for (const TileRule& rule : config.rules) {
        const std::optional<TileSlot> slot = parseTileSlot(rule.tile);
        if (!slot) {
            problems.push_back("The rule " + text::quoted(rule.id) +
                               " names no tile Halyward knows (" + text::quoted(rule.tile) +
                               "), so it does nothing.");
            continue;
        }
        Rule compiled;
        compiled.placement = Placement{*slot, rule.display};
        if (!rule.bundleIdentifier.empty()) compiled.identities.push_back(rule.bundleIdentifier);
        if (rule.app && !text::trim(*rule.app).empty()) {
            // A hand-written rule may name its app in words only. The words themselves match
            // a window's class names; a web app or installed application of that name
            // matches by its identifier. An app that is not installed simply matches
            // nothing.
            const std::string_view word = text::trim(*rule.app);
            compiled.identities.emplace_back(word);
            if (rule.bundleIdentifier.empty()) {
                if (auto webApp = findWebApp(config, word)) {
                    compiled.identities.push_back(webApp->spec.bundleIdentifier);
                } else if (lookup) {
                    if (auto installed = lookup(word)) {
                        compiled.identities.push_back(installed->bundleIdentifier);
                    }
                }
            }
        }
        if (compiled.identities.empty()) continue;
        if (rule.titlePattern && !rule.titlePattern->empty()) {
            auto pattern =
                std::make_shared<text::Regex>(*rule.titlePattern, text::RegexSubjects::anyBytes);
            if (!pattern->valid()) {
                problems.push_back("The title pattern of the rule " + text::quoted(rule.id) +
                                   " is not a valid regular expression (" + pattern->error() +
                                   "), so the rule does nothing.");
                continue;
            }
            compiled.title = std::move(pattern);
        }
        rules_.push_back(std::move(compiled));
    }
    for (const WebAppRecord& app : config.apps) {
        if (!app.spec.tile || app.spec.bundleIdentifier.empty()) continue;
        if (const std::optional<TileSlot> slot = parseTileSlot(*app.spec.tile)) {
            webAppTiles_.emplace(app.spec.bundleIdentifier, *slot);
        }
    }
}

std::optional<Placement> WindowRules::placementFor(const WindowInfo& window,
                                                   bool firstOfApp) const {
    for (const Rule& rule : rules_) {
        const bool ours = std::any_of(rule.identities.begin(), rule.identities.end(),
                                      [&](const std::string& id) { return belongsTo(window, id); });
        if (ours && (!rule.title || rule.title->matches(window.title))) return rule.placement;
    }
    if (firstOfApp && !window.appIdentity.empty()) {
        if (const auto found = webAppTiles_.find(window.appIdentity); found != webAppTiles_.end()) {
            return Placement{found->second, std::nullopt};
        }
    }
    return std::nullopt;
}

}  // namespace halyward::detail
