#include "halyward/app/app_hotkeys.hpp"

#include "halyward/commands/doctor.hpp"
#include "halyward/system/paths.hpp"

#include <algorithm>
#include <vector>

namespace halyward::detail {

AppHotkeyStep appHotkeyStep(const Desktop& desktop, std::string_view identity, bool cycle,
                            bool hideOnRepeat) {
    const std::vector<const WindowInfo*> all = desktop.windowsOf(identity);
    std::vector<const WindowInfo*> shown;
    for (const WindowInfo* window : all) {
        if (!window->hidden) shown.push_back(window);
    }
    const WindowInfo* focused = desktop.focusedWindow();
    const bool frontmost = focused && !focused->hidden && belongsTo(*focused, identity);

    std::vector<const WindowInfo*> order = shown;
    std::sort(order.begin(), order.end(),
              [](const WindowInfo* a, const WindowInfo* b) { return a->id < b->id; });
    std::optional<std::int64_t> focusedIndex;
    for (std::size_t i = 0; frontmost && i < order.size(); ++i) {
        if (order[i]->id == focused->id) focusedIndex = static_cast<std::int64_t>(i);
    }

    AppHotkeyStep step;
    step.action = focusAction(!all.empty(), frontmost, static_cast<std::int64_t>(order.size()),
                              focusedIndex, cycle, hideOnRepeat);
    switch (step.action.kind()) {
        case FocusAction::Kind::cycle: {
            const std::int64_t index = *step.action.cycleIndex();
            if (index >= 0 && static_cast<std::size_t>(index) < order.size()) {
                step.window = order[static_cast<std::size_t>(index)]->id;
            }
            break;
        }
        case FocusAction::Kind::focus:
            // The app's front-most shown window; a hidden one when all are hidden.
            if (!shown.empty()) {
                step.window = shown.front()->id;
            } else if (!all.empty()) {
                step.window = all.front()->id;
            }
            break;
        case FocusAction::Kind::launch:
        case FocusAction::Kind::hide: break;
    }
    return step;
}

LaunchRequest launchRequest(const HalywardConfig& config, std::string_view identity,
                            std::string_view home) {
    LaunchRequest request{std::string(identity), {}};
    for (const WebAppRecord& app : config.apps) {
        if (app.spec.bundleIdentifier != identity) continue;
        if (auto folder = webAppBundleFolder(HalywardPaths::appsDirectory(home), app.spec.name)) {
            request.bundlePath = *folder;
        }
        break;
    }
    return request;
}

}  // namespace halyward::detail
